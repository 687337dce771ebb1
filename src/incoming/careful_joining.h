// The messages that parts are joined to when they are told apart with care.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "incoming/part_groups.h"
#include "incoming/sim_message.h"

namespace tavro {

// The groups of all records that are parts (GroupParts), by sender, reference and total: parts may come by several
// service centres.
std::vector<PartGroup> GroupRecords(std::vector<SIMMessage>& records);

// Whether the group is to be shown: it is complete, or its newest part is a day old. One that is from the future by a
// day, or of an unknown time, shows that a clock is wrong, and is not held back for ever.
bool IsShown(const PartGroup& group, std::int64_t now);

// The message of a group: its parts' texts and data in order, "[...]" in place of missing ones, sender and service
// centre of the first part and the time stamp of the last.
std::shared_ptr<const MessageContent> JoinGroup(const PartGroup& group);

bool IsSamePdu(const MessageContent& a, const MessageContent& b);
// Some modems fill what they have stored with FF, and not what they deliver.
bool IsSamePdu(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b);
// The same, also where the PDU is not kept: what it says.
bool IsSameMessage(const MessageContent& a, const MessageContent& b);

}  // namespace tavro
