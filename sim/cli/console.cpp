#include "sim/cli/console.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "sim/config/database_url.h"
#include "sim/config/names.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr size_t buffer_size = 1 << 16;
constexpr const char *colour_off = "\033[0m";
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

void DescriptorBuffer::write_out(std::string_view text)
{
    while (!text.empty() && error_ == 0) {
        const ssize_t written = ::write(descriptor_, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<size_t>(written));
        else if (errno != EINTR)
            error_ = errno;
    }
}

int DescriptorBuffer::sync()
{
    begun_.append(pbase(), pptr());
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    /* A character has four bytes at most. */
    size_t end = begun_.size();
    for (size_t back = 1; back < 4 && back <= begun_.size(); ++back) {
        const auto byte = static_cast<unsigned char>(begun_[begun_.size() - back]);
        if (byte >= 0xC0) {
            const size_t needs = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            end -= back < needs ? back : 0;
        }
        if (byte < 0x80 || byte >= 0xC0)
            break;
    }
    write_out(visible_lines(std::string_view(begun_).substr(0, end)));
    begun_.erase(0, end);
    return error_ == 0 ? 0 : -1;
}

void DescriptorBuffer::put_raw(std::string_view text)
{
    sync();
    write_out(text);
}

void DescriptorBuffer::finish()
{
    sync();
    write_out(visible_lines(std::exchange(begun_, {})));
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
    if (!out_colour_ || end == text.npos) {
        out_ << text;
        return;
    }
    buffer_.put_raw("\033[1m");
    out_ << text.substr(0, end);
    buffer_.put_raw(colour_off);
    out_ << text.substr(end);
}

void Console::line(const char *colour, std::string_view text)
{
    clear_progress();
    const bool has_colour = out_colour_ && *colour != '\0';
    if (has_colour)
        buffer_.put_raw(colour);
    out_ << visible(without_passwords(text));
    if (has_colour)
        buffer_.put_raw(colour_off);
    out_ << '\n';
}

void Console::message(const char *colour, std::string_view unmasked)
{
    out_.flush();
    clear_progress();
    const bool has_colour = error_colour_ && *colour != '\0';
    write_to_stderr(fmt::format("{}{}{}\n", has_colour ? colour : "",
                                visible(without_passwords(unmasked)),
                                has_colour ? colour_off : ""));
}

void Console::progress(std::string_view what)
{
    if (!error_terminal_)
        return;
    write_to_stderr(fmt::format("\r\033[K{}", visible(what)));
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
    buffer_.finish();
    return buffer_.error();
}

} // namespace kvnsim
