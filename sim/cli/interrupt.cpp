#include "sim/cli/interrupt.h"

#include <csignal>
#include <initializer_list>

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
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

void make_write_signals_errors()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
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
