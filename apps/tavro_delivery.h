// Waiting for what becomes of a message that was sent.
#pragma once

#include <chrono>
#include <string>

#include "tavro/status_report.h"
#include "tavro_session.h"

// Waits until the state is final, so long at most, and prints it. `references` are those that SendSMS returned. Throws
// std::runtime_error when a signal ended it.
tavro::DeliveryState AwaitDelivery(Session& session, const std::u16string& references, std::chrono::seconds limit);
