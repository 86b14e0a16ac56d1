/* What tells of changes, inotify or the server's notifications, only makes the source be looked at
 * sooner: files at the end of each waiting time, databases that do not tell too, and the others now
 * and then. So nothing is missed for good. */
#include "sim/cli/source.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <utility>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "sim/cli/input.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/verb.h"
#include "sim/config/running.h"

namespace kvnsim {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds interrupt_interval(100); /* of looking for a signal */
constexpr std::chrono::seconds full_look(60);   /* of a database that tells of changes */

/* Wait for input of a descriptor, -1 for none, at most until then or a signal. */
bool has_input(int descriptor, Clock::time_point until)
{
    while (!is_interrupted()) {
        const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
        const auto wait = std::clamp(left, milliseconds(0), interrupt_interval);
        pollfd one{descriptor, POLLIN, 0};
        if (::poll(&one, 1, static_cast<int>(wait.count())) > 0)
            return true;
        if (left <= wait)
            break;
    }
    return false;
}

class FileSource : public Source {
public:
    explicit FileSource(const std::string &file) : Source(file), path_(file) {}
    ~FileSource() override { close(); }
    FileSource(const FileSource &) = delete;
    FileSource &operator=(const FileSource &) = delete;

    /* Its folder is watched, because a file that is replaced is another one; also the folder of the
     * file that a symbolic link leads to. */
    std::string open() override
    {
        close();
        names_.clear();
        inotify_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        std::error_code none;
        for (const auto &path : {path_, std::filesystem::weakly_canonical(path_, none)}) {
            if (path.empty())
                continue;
            names_.insert(path.filename());
            const std::string folder = path.has_parent_path() ? path.parent_path() : ".";
            if (inotify_ >= 0 && ::inotify_add_watch(inotify_, folder.c_str(),
                                                     IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE |
                                                         IN_MOVE | IN_DELETE) < 0)
                close();
        }
        seen_ = look();
        return inotify_ >= 0 ? "told of changes by the system" : "looking for changes";
    }

    bool changed_within(milliseconds time) override
    {
        const auto until = Clock::now() + time;
        while (has_input(inotify_, until)) {
            if (is_told())
                return true;
        }
        const auto now = look();
        return std::exchange(seen_, now) != now;
    }

    std::optional<Configuration> read() override
    {
        seen_ = look();
        std::string text;
        const std::string problem = read_file(name(), text);
        if (!problem.empty()) {
            text_.reset();
            throw SourceError("cannot be read: " + problem);
        }
        if (text_ == text)
            return {};
        text_ = std::move(text);
        return read_configuration(name(), *text_);
    }

private:
    /* What differs when the file was written. Without a file both are the same each time. */
    using Look = std::pair<std::filesystem::file_time_type, uintmax_t>;

    Look look() const
    {
        std::error_code none;
        return {std::filesystem::last_write_time(path_, none),
                std::filesystem::file_size(path_, none)};
    }

    /* Take all that inotify has to tell; whether any of it is about the file. */
    bool is_told() const
    {
        alignas(inotify_event) char block[16384];
        bool told = false;
        for (ssize_t got; (got = ::read(inotify_, block, sizeof block)) > 0;) {
            for (const char *at = block; at < block + got;) {
                const auto *event = reinterpret_cast<const inotify_event *>(at);
                told |= (event->mask & (IN_Q_OVERFLOW | IN_IGNORED)) != 0 ||
                        (event->len != 0 && names_.count(event->name) != 0);
                at += sizeof *event + event->len;
            }
        }
        return told;
    }

    void close()
    {
        if (inotify_ >= 0)
            ::close(std::exchange(inotify_, -1));
    }

    const std::filesystem::path path_;
    std::set<std::string> names_; /* of the file, and of what it links to */
    int inotify_ = -1;
    Look seen_;
    std::optional<std::string> text_;
};

class DatabaseSource : public Source {
public:
    explicit DatabaseSource(DatabaseUrl url) : Source(url.name()), url_(std::move(url)) {}

    std::string open() override
    {
        guarded([&] {
            listener_ = std::make_unique<RunningDatabase>(url_, is_interrupted);
            if (!listener_->follow())
                listener_.reset();
        });
        is_open_ = true;
        return listener_ ? "told of changes by the server"
                         : "looking for changes, as the server does not tell of them";
    }

    bool changed_within(milliseconds time) override
    {
        bool told = false;
        if (listener_)
            guarded([&] { told = listener_->changed_within(time); });
        else
            has_input(-1, Clock::now() + time);
        if (told || !is_open_ || is_interrupted() || (listener_ && Clock::now() < next_look_))
            return told;
        look();
        return is_new_;
    }

    std::optional<Configuration> read() override
    {
        look();
        if (!std::exchange(is_new_, false))
            return {};
        return read_configuration(name(), *rows_);
    }

private:
    void look()
    {
        guarded([&] {
            RunningRows rows = RunningDatabase(url_, is_interrupted).read();
            is_new_ |= rows_ != rows;
            rows_ = std::move(rows);
        });
        next_look_ = Clock::now() + full_look;
    }

    /* After a failure nothing is known. */
    void guarded(const std::function<void()> &work)
    {
        try {
            work();
        } catch (const DatabaseError &error) {
            is_open_ = false;
            listener_.reset();
            rows_.reset();
            throw SourceError(std::string("cannot be read: ") + error.what());
        }
    }

    const DatabaseUrl url_;
    std::unique_ptr<RunningDatabase> listener_; /* none: the server does not tell of changes */
    bool is_open_ = false;
    std::optional<RunningRows> rows_; /* as last seen */
    bool is_new_ = false;             /* not read since */
    Clock::time_point next_look_;
};

} // namespace

std::unique_ptr<Source> make_source(const std::string &given)
{
    if (given == "-")
        throw UsageError("standard input is read once and cannot be watched");
    if (is_database_url(given))
        return std::make_unique<DatabaseSource>(database_named(given));
    return std::make_unique<FileSource>(given);
}

} // namespace kvnsim
