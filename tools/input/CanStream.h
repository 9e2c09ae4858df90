#pragma once

#include <cstdint>
#include <functional>

#include "tools/input/WordSource.h"
#include "umlauf/can/CanMessage.h"

namespace umlauf::tool {

/// Takes the messages of a stream, in order of time; `position` is the frame at which one begins.
using CanSink = std::function<void(std::uint64_t position, const CanMessageBlock_s& message)>;

/// Finds all messages of a stream, from where the source stands to its end; those that lie across the
/// borders of blocks, too, and short ones at the very end. `channel2` [from 0] is the second channel that
/// messages are split over, or -1.
void FindCanMessages(WordSource& source, int channel2, const CanSink& sink);

}  // namespace umlauf::tool
