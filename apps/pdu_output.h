// How `tavro pdu` shows a PDU.
#pragma once

#include "tavro/pdu.h"
#include "tavro_output.h"

// What it says, a field a line, with the standard's names.
void PrintFields(const tavro::DecodedPdu& pdu);

// Octet by octet: where, the octets, the bits of a part of one, the field and its meaning.
void PrintOctets(const tavro::DecodedPdu& pdu);

// `explained`: with all fields.
Json JsonOf(const tavro::DecodedPdu& pdu, bool explained);
