// What a Message object holds.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "incoming/incoming_services.h"
#include "incoming/sim_message.h"
#include "tavro/message.h"

namespace tavro {

class SIMBox;

struct TAVRO_PRIVATE Message::State {
  std::int16_t index = 0;
  std::shared_ptr<const MessageContent> content;
  std::weak_ptr<SIMBox> box;
  std::weak_ptr<IncomingServices> services;
  std::vector<StoredPart> parts = {};  // when they are joined with care
};

}  // namespace tavro
