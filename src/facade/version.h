// The component's version record: what SMS::About says and what the version resource of Tavro.dll holds. The resource
// compiler reads this file too, hence the macros.
#pragma once

#define TAVRO_FILE_DESCRIPTION "Tavro 1.8 SMS Component"
#define TAVRO_VERSION_MAJOR 1
#define TAVRO_VERSION_MINOR 8
#define TAVRO_VERSION_REVISION 80
#define TAVRO_LEGAL_NOTICE "Copyright (c) 2026 The Tavro developers. MIT License."

#ifndef RC_INVOKED
#include <string_view>

namespace tavro {

inline constexpr std::u16string_view kFileDescription = u"" TAVRO_FILE_DESCRIPTION;
inline constexpr int kVersionMajor = TAVRO_VERSION_MAJOR;
inline constexpr int kVersionMinor = TAVRO_VERSION_MINOR;
inline constexpr int kVersionRevision = TAVRO_VERSION_REVISION;
inline constexpr std::u16string_view kLegalNotice = u"" TAVRO_LEGAL_NOTICE;

}  // namespace tavro
#endif
