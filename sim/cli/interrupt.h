#pragma once

namespace kvnsim {

/* Ctrl-C and SIGTERM end the work at the next opportunity, the second one at once. Writing to a
 * closed pipe is an error like any other, so that the work is done before the end. To be called
 * once, at the start. */
void catch_interrupts();

/* The signal that came, 0 without one. */
int interrupt_signal();

/* Go on after the signal that came; the next one is caught like the first. */
void forget_interrupt();

} // namespace kvnsim
