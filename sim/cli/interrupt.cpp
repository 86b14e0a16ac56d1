#include "sim/cli/interrupt.h"

#include <csignal>

namespace kvnsim {
namespace {

volatile std::sig_atomic_t caught = 0;

extern "C" void on_interrupt(int signal)
{
    caught = signal;
}

} // namespace

void catch_interrupts()
{
    struct sigaction action = {};
    action.sa_handler = on_interrupt;
    action.sa_flags =
        static_cast<int>(SA_RESETHAND); /* no SA_RESTART: a signal also ends reading */
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

void forget_interrupt()
{
    caught = 0;
    catch_interrupts();
}

int interrupt_signal()
{
    return caught;
}

} // namespace kvnsim
