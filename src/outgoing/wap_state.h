// What stands behind a Wap object: the values set, and a loose hold on the SMS object that made it.
#pragma once

#include <memory>
#include <utility>

#include "link/error_state.h"
#include "outgoing/push_sender.h"
#include "platform/platform.h"
#include "tavro/wap.h"

namespace tavro {

// The parts of the engine that a Wap uses while the engine lives.
struct PushServices {
  ErrorState& errors;
  PushSender& sender;
};

// Made by the engine: Wap(std::make_unique<Wap::State>(services, platform)). A Wap locks `services` for the time of a
// call; when they are owned together with the engine, that keeps the engine for as long. They expire with the SMS
// object. The platform is kept: the checks need it also then.
struct TAVRO_PRIVATE Wap::State {
  State(std::weak_ptr<PushServices> pushServices, std::shared_ptr<Platform> sharedPlatform)
      : services(std::move(pushServices)), platform(std::move(sharedPlatform)) {}

  std::weak_ptr<PushServices> services;
  std::shared_ptr<Platform> platform;
  WapPush push;
};

}  // namespace tavro
