#pragma once

namespace kvnsim {

/* Ctrl-C and SIGTERM end the work at the next opportunity, the second one at once. Writing to a
 * closed pipe is an ordinary error, so that the work is completed. Call once, at the start. */
void catch_interrupts();

/* The signal received, or 0. */
int interrupt_signal();
inline bool is_interrupted()
{
    return interrupt_signal() != 0;
}

/* Continue after a signal; the next one is caught like the first. */
void forget_interrupt();

} // namespace kvnsim
