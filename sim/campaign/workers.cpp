/* A result travels as its length and its bytes, so that one that a dying child left unfinished is
 * never taken for a result. A child's pipe has one writer: its end is the child's end. */
#include "sim/campaign/workers.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <fmt/format.h>

namespace kvnsim {
namespace {

using Length = uint64_t;

/* How long a signal that came just before waiting may go unnoticed. */
constexpr std::chrono::milliseconds longest_wait(100);

/* The status of a child that ended in a way of its own. */
constexpr int lost_its_way = 125;

bool write_all(int descriptor, const char *from, size_t size)
{
    while (size != 0) {
        const ssize_t written = ::write(descriptor, from, size);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            from += written;
            size -= static_cast<size_t>(written);
        }
    }
    return true;
}

int ended(pid_t process)
{
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

/* The result; false if it is not whole. */
bool take_result(const std::string &received, std::string &text)
{
    Length length = 0;
    if (received.size() < sizeof length)
        return false;
    std::memcpy(&length, received.data(), sizeof length);
    if (received.size() - sizeof length != length)
        return false;
    text = received.substr(sizeof length);
    return true;
}

std::string death_of(int status)
{
    if (WIFSIGNALED(status))
        return fmt::format("killed by signal {} ({})", WTERMSIG(status),
                           ::strsignal(WTERMSIG(status)));
    return fmt::format("ended with status {}", WEXITSTATUS(status));
}

} // namespace

uint32_t usable_cores()
{
    return std::max(1U, std::thread::hardware_concurrency());
}

Workers::Workers(Options options, Done done) : options_(std::move(options)), done_(std::move(done))
{
    if (options_.jobs == 0)
        options_.jobs = usable_cores();
}

Workers::~Workers()
{
    if (to_parent_ >= 0)
        ::_exit(lost_its_way);
    kill_all();
}

bool Workers::start(uint64_t item)
{
    while (!stops() && children_.size() >= options_.jobs)
        wait_for_one();
    while (!stops()) {
        if (try_to_fork(item))
            return to_parent_ >= 0;
        /* No descriptor or process is left: one of ours will be. */
        if (children_.empty())
            throw WorkersError(fmt::format("no process can be started: {}", std::strerror(errno)));
        wait_for_one();
    }
    return false;
}

/* False, with errno, when the system refuses. */
bool Workers::try_to_fork(uint64_t item)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return false;
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process == 0) {
        ::close(ends[0]);
        become_child(ends[1], parent);
        return true;
    }
    const int problem = errno;
    ::close(ends[1]);
    if (process < 0) {
        ::close(ends[0]);
        errno = problem;
        return false;
    }
    children_.push_back({item, process, ends[0], Clock::now(), {}});
    return true;
}

void Workers::become_child(int pipe, pid_t parent)
{
    to_parent_ = pipe;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(lost_its_way); /* it died before the line above */
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    for (const Child &sibling : children_)
        ::close(sibling.pipe);
    children_.clear();
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nothing < 0 || ::dup2(nothing, STDIN_FILENO) < 0 || ::dup2(nothing, STDOUT_FILENO) < 0)
        ::_exit(lost_its_way);
    ::close(nothing);
}

void Workers::finish(std::string_view result)
{
    const Length length = result.size();
    char header[sizeof length];
    std::memcpy(header, &length, sizeof length);
    const bool told = write_all(to_parent_, header, sizeof header) &&
                      write_all(to_parent_, result.data(), result.size());
    ::_exit(told ? EXIT_SUCCESS : lost_its_way);
}

void Workers::finish_all()
{
    while (!stops() && !children_.empty())
        wait_for_one();
}

/* Until a child says something or ends, or is due; not long. */
void Workers::wait_for_one()
{
    std::vector<pollfd> pipes;
    pipes.reserve(children_.size());
    for (const Child &child : children_)
        pipes.push_back({child.pipe, POLLIN, 0});
    ::poll(pipes.data(), pipes.size(), static_cast<int>(longest_wait.count()));
    if (stops())
        return;
    const Clock::time_point now = Clock::now();
    for (size_t i = pipes.size(); i-- > 0;) {
        Child &child = children_[i];
        if (pipes[i].revents != 0) {
            read_from(child);
        } else if (options_.limit.count() != 0 && !child.overdue &&
                   now - child.started >= options_.limit) {
            child.overdue = true;
            ::kill(child.process, SIGKILL);
        }
    }
}

void Workers::read_from(Child &child)
{
    char block[65536];
    const ssize_t got = ::read(child.pipe, block, sizeof block);
    if (got > 0)
        child.received.append(block, static_cast<size_t>(got));
    else if (got == 0 || errno != EINTR)
        end(child);
}

void Workers::end(Child &child)
{
    const auto at = children_.begin() + (&child - children_.data());
    const Child ended_one = std::move(*at);
    children_.erase(at);
    ::close(ended_one.pipe);
    const int status = ended(ended_one.process);
    Result result;
    if (!take_result(ended_one.received, result.text))
        result.death = ended_one.overdue
                           ? fmt::format("killed after {} s",
                                         std::chrono::duration<double>(options_.limit).count())
                           : death_of(status);
    done_(ended_one.item, std::move(result));
}

bool Workers::stops()
{
    if (!stopped_ && options_.stop && options_.stop()) {
        stopped_ = true;
        kill_all();
    }
    return stopped_;
}

void Workers::kill_all()
{
    for (const Child &child : children_)
        ::kill(child.process, SIGKILL);
    for (const Child &child : children_) {
        ended(child.process);
        ::close(child.pipe);
    }
    children_.clear();
}

} // namespace kvnsim
