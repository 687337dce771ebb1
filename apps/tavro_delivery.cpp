#include "tavro_delivery.h"

#include <iostream>
#include <stdexcept>

#include "end_signals.h"
#include "tavro_output.h"
#include "waiting.h"

tavro::DeliveryState AwaitDelivery(Session& session, const std::u16string& references, std::chrono::seconds limit) {
  tavro::SMS& sms = session.Sms();
  {
    Waiting waiting(session, limit, false);
    const bool isFinal = waiting.Run([&] {
      const bool isDone = sms.WaitForDelivery(references, Waiting::kLongest);
      session.Check();
      return isDone;
    });
    if (!isFinal && EndSignals::Received() != 0) throw std::runtime_error("ended by a signal");
  }
  const tavro::Delivery delivery = sms.DeliveryOf(references);
  std::cout << NameOf(delivery.state);
  if (delivery.state == tavro::DeliveryState::kUnknown) std::cout << "  no report came in time";
  // Of several parts with that state one says when and why.
  for (const tavro::Delivery::Part& part : delivery.parts) {
    if (!part.report || part.report->state != delivery.state) continue;
    std::cout << "  " << PrintableLine(part.report->dischargeTimeStampRFC) << "  " << PrintableLine(part.report->text);
    break;
  }
  std::cout << '\n';
  return delivery.state;
}
