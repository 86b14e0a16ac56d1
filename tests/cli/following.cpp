#include "tests/cli/following.h"

#include <csignal>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

static constexpr int patience = 60'000; /* milliseconds */

Following::Following(Kvnsim &test, const std::vector<std::string> &arguments, bool with_messages)
{
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    output_ = ends[0];
    const int nothing = open("/dev/null", O_RDWR);
    process_ = test.start(arguments, nothing, ends[1], with_messages ? ends[1] : nothing);
    close(ends[1]);
    close(nothing);
}

Following::~Following()
{
    if (process_ > 0) {
        kill(process_, SIGKILL);
        Kvnsim::wait_for(process_);
    }
    close(output_);
}

bool Following::read_more()
{
    pollfd one{output_, POLLIN, 0};
    if (poll(&one, 1, patience) <= 0) {
        ADD_FAILURE() << "nothing more is printed behind: " << read_;
        return false;
    }
    char block[4096];
    const ssize_t got = read(output_, block, sizeof block);
    if (got > 0)
        read_.append(block, static_cast<size_t>(got));
    return got > 0;
}

std::string Following::until(const std::string &text)
{
    size_t end;
    for (;;) {
        const size_t found = read_.find(text);
        end = found == read_.npos ? found : read_.find('\n', found + text.size());
        if (end != read_.npos)
            break;
        if (!read_more()) {
            ADD_FAILURE() << "\"" << text << "\" is not printed, but: " << read_;
            return "";
        }
    }
    const std::string shown = read_.substr(0, end + 1);
    read_.erase(0, end + 1);
    return shown;
}

std::string Following::line()
{
    std::string shown = until("");
    if (!shown.empty())
        shown.pop_back();
    return shown;
}

void Following::send(int signal) const
{
    kill(process_, signal);
}

int Following::end()
{
    while (read_more()) {
    }
    rest = std::exchange(read_, {});
    return Kvnsim::wait_for(std::exchange(process_, -1));
}
