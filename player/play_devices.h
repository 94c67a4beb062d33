// Which devices are queued while a movie plays and while it does not.
#pragma once

namespace player {

// Takes the toolkit's whole list out of the queue, then queues what the state needs. Stopped: the
// toolkit's list. Playing: the ticks, the left button, the window events and QFULL, so that the
// queue holds little besides ticks. In both: what the window asks for (view.queue_devices).
void set_play_devices(bool playing);

} // namespace player
