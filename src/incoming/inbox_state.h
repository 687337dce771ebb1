// What an Inbox object holds.
#pragma once

#include <memory>

#include "incoming/incoming_services.h"
#include "incoming/sim_box.h"
#include "link/cancellation.h"
#include "tavro/inbox.h"

namespace tavro {

struct TAVRO_PRIVATE Inbox::State {
  std::shared_ptr<SIMBox> box;
  std::weak_ptr<IncomingServices> services;
  std::shared_ptr<Cancellation> cancellation;
};

}  // namespace tavro
