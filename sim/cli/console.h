#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace kvnsim {

/* Writes to a file descriptor, and remembers why that failed. */
class DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int descriptor);
    /* Write this as it is; everything else as visible_lines() shows it. */
    void put_raw(std::string_view text);
    /* Write out all, a character that is not whole too. */
    void finish();
    int error() const { return error_; } /* errno of the first failed write, or 0 */

private:
    int_type overflow(int_type character) override;
    int sync() override;
    void write_out(std::string_view text);

    const int descriptor_;
    std::string begun_; /* a character of which the rest is still to come */
    int error_ = 0;
    std::vector<char> buffer_;
};

/* Where output goes: data to standard output, messages and progress to standard error. Colour and
 * progress only on a terminal, colour never with NO_COLOR. */
class Console {
public:
    Console();

    /* Data. */
    std::ostream &out() { return out_; }
    bool out_has_colour() const { return out_colour_; }
    /* Characters in a line of the terminal, by COLUMNS or else as it says itself; SIZE_MAX when it
     * does not, and on anything else. */
    size_t width() const;
    /* A text with its first line as a heading. */
    void print_titled(std::string_view text);

    /* Data, a line each. */
    void print_warning(std::string_view text) { line(yellow, text); }
    void print_error(std::string_view text) { line(red, text); }

    /* Messages: one line each, without its end, whatever is in it. Earlier output appears first. No
     * password of a database's URL is shown. */
    void note(std::string_view text) { message("", text); }
    void warning(std::string_view text) { message(yellow, text); }
    void error(std::string_view text) { message(red, text); }

    /* Show progress; the next message or output clears it. */
    void progress(std::string_view what, uint64_t done, uint64_t of);
    /* The same for work of unknown size. */
    void progress(std::string_view what);
    void clear_progress();

    /* Write out all data. Returns 0 or the errno value of the failed write: EPIPE when
     * the reader has gone. */
    int finish();

private:
    static constexpr const char *yellow = "\033[33m", *red = "\033[31m";

    void message(const char *colour, std::string_view text);
    void line(const char *colour, std::string_view text);

    DescriptorBuffer buffer_;
    std::ostream out_;
    bool out_terminal_, out_colour_, error_colour_, error_terminal_;
    bool progress_shown_ = false;
    std::chrono::steady_clock::time_point last_progress_{};
};

} // namespace kvnsim
