// TP-UDL and TP-UD taken apart (3GPP TS 23.040, 9.2.3.16 and 9.2.3.24).
#pragma once

#include "pdu/field_reader.h"
#include "tavro/pdu.h"

namespace tavro {

// `hasHeader`: the user data begins with a header. Its coding is that of the PDU's TP-DCS.
void ReadUserData(FieldReader& reader, DecodedPdu& pdu, bool hasHeader);

}  // namespace tavro
