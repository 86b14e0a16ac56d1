#pragma once

namespace kvnsim {

/* Ctrl-C, SIGTERM and SIGHUP end the work at the next opportunity, the second one at once; those
 * that whoever started the process has it ignore stay ignored. */
void catch_interrupts();

/* Writing to a closed pipe, or beyond the limit of a file's size, is an ordinary error. Call once,
 * at the start. */
void make_write_signals_errors();

/* The signal received, or 0. */
int interrupt_signal();
inline bool is_interrupted()
{
    return interrupt_signal() != 0;
}

/* Continue after a signal; the next one is caught like the first. */
void forget_interrupt();

} // namespace kvnsim
