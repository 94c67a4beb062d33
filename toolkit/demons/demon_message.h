// The message that every demon method receives.
#pragma once

#include "toolkit/demons/message_codes.h"
#include "toolkit/events/input_types.h"

#include <cstdint>

namespace toolkit {

struct demon;

struct demon_message {
    std::uint32_t code = 0;      // msg_...
    screen_point point;          // where the pointer is, after the cursor filter
    std::uint16_t spare = 0;     // nobody fills or reads it
    std::uint16_t propagate = 0; // 255: siblings get the message too; 0: this demon only
    std::uint32_t value = 0;     // argument or result
    demon *picked = nullptr;     // the answer to a pick
    std::int16_t key = 0;        // a key's character or modifier code
};

} // namespace toolkit
