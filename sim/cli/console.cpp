#include "sim/cli/console.h"

#include <cerrno>
#include <cstdlib>

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "sim/config/database_url.h"
#include "sim/config/names.h"

namespace kvnsim {
namespace {

constexpr size_t buffer_size = 1 << 16;
constexpr std::chrono::milliseconds progress_interval(100);

bool colour_wanted()
{
    const char *no_color = std::getenv("NO_COLOR");
    const char *terminal = std::getenv("TERM");
    return (no_color == nullptr || *no_color == '\0') &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

void write_to_stderr(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

/* A line; no colour is "". */
std::string coloured(const char *colour, std::string_view text)
{
    return *colour != '\0' ? fmt::format("{}{}\033[0m\n", colour, text) : fmt::format("{}\n", text);
}

} // namespace

DescriptorBuffer::DescriptorBuffer(int descriptor) : descriptor_(descriptor), buffer_(buffer_size)
{
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type character)
{
    if (sync() != 0)
        return traits_type::eof();
    if (traits_type::eq_int_type(character, traits_type::eof()))
        return traits_type::not_eof(character);
    return sputc(traits_type::to_char_type(character));
}

int DescriptorBuffer::sync()
{
    const char *from = pbase();
    while (from != pptr() && error_ == 0) {
        const ssize_t written = ::write(descriptor_, from, static_cast<size_t>(pptr() - from));
        if (written >= 0)
            from += written;
        else if (errno != EINTR)
            error_ = errno;
    }
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return error_ == 0 ? 0 : -1;
}

Console::Console()
    : buffer_(STDOUT_FILENO), out_(&buffer_), out_terminal_(::isatty(STDOUT_FILENO) != 0),
      out_colour_(out_terminal_ && colour_wanted()),
      error_colour_(::isatty(STDERR_FILENO) != 0 && colour_wanted()),
      error_terminal_(::isatty(STDERR_FILENO) != 0)
{}

size_t Console::width() const
{
    if (!out_terminal_)
        return SIZE_MAX;
    const char *columns = std::getenv("COLUMNS");
    if (const auto given = parse_number(columns != nullptr ? columns : "", 1, UINT32_MAX))
        return *given;
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? size.ws_col : SIZE_MAX;
}

void Console::print_titled(std::string_view text)
{
    clear_progress();
    const size_t end = text.find('\n');
    if (out_colour_ && end != text.npos)
        out_ << "\033[1m" << text.substr(0, end) << "\033[0m" << text.substr(end);
    else
        out_ << text;
}

void Console::line(const char *colour, std::string_view text)
{
    clear_progress();
    out_ << coloured(out_colour_ ? colour : "", without_passwords(text));
}

void Console::message(const char *colour, std::string_view unmasked)
{
    out_.flush();
    clear_progress();
    write_to_stderr(coloured(error_colour_ ? colour : "", without_passwords(unmasked)));
}

void Console::progress(std::string_view what)
{
    if (!error_terminal_)
        return;
    write_to_stderr(fmt::format("\r\033[K{}", what));
    progress_shown_ = true;
}

void Console::progress(std::string_view what, uint64_t done, uint64_t of)
{
    if (!error_terminal_)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - last_progress_ < progress_interval)
        return;
    last_progress_ = now;
    progress(fmt::format("{} {} of {}", what, done, of));
}

void Console::clear_progress()
{
    if (!progress_shown_)
        return;
    write_to_stderr("\r\033[K");
    progress_shown_ = false;
}

int Console::finish()
{
    clear_progress();
    out_.flush();
    return buffer_.error();
}

} // namespace kvnsim
