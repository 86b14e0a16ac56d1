/* No password leaves this file but in DatabaseUrl::password: names and messages are masked. */
#include "sim/config/database_url.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>

#include <fmt/format.h>

#include "sim/config/names.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr std::string_view network_scheme = "redis://", local_scheme = "redis+unix://";
constexpr std::string_view database_parameter = "?db=";
constexpr const char *forms = "redis://HOST[:PORT][/DATABASE] or redis+unix:///PATH[?db=DATABASE], "
                              "with [USER]:PASSWORD@ before HOST or /PATH where it takes one";

/* The scheme that a text begins with; empty for none. */
std::string_view scheme_of(std::string_view text)
{
    for (const std::string_view scheme : {network_scheme, local_scheme}) {
        if (starts_with(text, scheme))
            return scheme;
    }
    return {};
}

/* The part before the last '@' of what follows the scheme. None before a path. */
std::string_view credentials_of(std::string_view rest)
{
    const size_t at = rest.rfind('@');
    return at == rest.npos || starts_with(rest, "/") ? std::string_view() : rest.substr(0, at);
}

std::string masked(std::string_view scheme, std::string_view rest)
{
    const size_t length = credentials_of(rest).size();
    return fmt::format("{}{}{}", scheme, length == 0 ? "" : "***", rest.substr(length));
}

/* With each %40 the character that it stands for; empty for a malformed one. */
std::optional<std::string> decoded(std::string_view text)
{
    std::string plain;
    while (!text.empty()) {
        char character = text[0];
        size_t length = 1;
        if (character == '%') {
            unsigned code = 0;
            length = 3;
            if (text.size() < length ||
                std::from_chars(text.data() + 1, text.data() + 3, code, 16).ptr != text.data() + 3)
                return {};
            character = static_cast<char>(code);
        }
        plain += character;
        text.remove_prefix(length);
    }
    return plain;
}

bool take_number(std::string_view text, uint32_t min, uint32_t max, uint32_t &number)
{
    const auto parsed = parse_number(text, min, max);
    if (parsed)
        number = *parsed;
    return parsed.has_value();
}

constexpr uint32_t highest_database = 999'999, highest_port = UINT16_MAX;

bool take_network(std::string_view rest, DatabaseUrl &url)
{
    if (const size_t slash = rest.find('/'); slash != rest.npos) {
        const std::string_view database = rest.substr(slash + 1);
        if (!database.empty() && !take_number(database, 0, highest_database, url.database))
            return false;
        rest = rest.substr(0, slash);
    }
    const size_t bracket = starts_with(rest, "[") ? rest.find(']') : 0;
    if (bracket == rest.npos)
        return false;
    if (const size_t colon = rest.find(':', bracket); colon != rest.npos) {
        uint32_t port = 0;
        if (!take_number(rest.substr(colon + 1), 1, highest_port, port))
            return false;
        url.port = static_cast<uint16_t>(port);
        rest = rest.substr(0, colon);
    }
    url.host = bracket == 0 ? rest : rest.substr(1, bracket - 1);
    return !url.host.empty() && (bracket == 0 || bracket + 1 == rest.size());
}

bool take_local(std::string_view rest, DatabaseUrl &url)
{
    if (const size_t question = rest.rfind(database_parameter); question != rest.npos) {
        if (!take_number(rest.substr(question + database_parameter.size()), 0, highest_database,
                         url.database))
            return false;
        rest = rest.substr(0, question);
    }
    url.socket = rest;
    return starts_with(rest, "/");
}

bool take_credentials(std::string_view text, DatabaseUrl &url)
{
    const size_t colon = text.find(':');
    if (colon == text.npos)
        return false;
    const auto user = decoded(text.substr(0, colon)), password = decoded(text.substr(colon + 1));
    if (!user || !password || password->empty())
        return false;
    url.user = *user;
    url.password = *password;
    return true;
}

} // namespace

std::string DatabaseUrl::name() const
{
    if (!socket.empty())
        return fmt::format("{}{}{}{}", local_scheme, socket, database_parameter, database);
    const bool is_v6 = host.find(':') != host.npos;
    return fmt::format("{}{}{}{}:{}/{}", network_scheme, is_v6 ? "[" : "", host, is_v6 ? "]" : "",
                       port, database);
}

bool is_database_url(std::string_view text)
{
    return !scheme_of(text).empty();
}

DatabaseUrl parse_database_url(const std::string &text)
{
    const std::string_view scheme = scheme_of(text);
    std::string_view rest = text;
    rest.remove_prefix(scheme.size());
    const std::string_view credentials = credentials_of(rest);
    const auto refuse = [&] {
        return std::invalid_argument(
            fmt::format("expected {}, not {}", forms, in_quotes(masked(scheme, rest))));
    };

    DatabaseUrl url;
    std::string_view place = rest;
    if (!credentials.empty()) {
        place.remove_prefix(credentials.size() + 1);
        if (!take_credentials(credentials, url))
            throw refuse();
    }
    if (has_blanks(place) ||
        !(scheme == local_scheme ? take_local(place, url) : take_network(place, url)))
        throw refuse();
    return url;
}

std::string without_passwords(std::string_view text)
{
    std::string plain;
    while (!text.empty()) {
        const std::string_view scheme = scheme_of(text);
        if (scheme.empty()) {
            plain += text[0];
            text.remove_prefix(1);
            continue;
        }
        const auto end = std::find_if(text.begin(), text.end(), is_space);
        const std::string_view word = text.substr(0, static_cast<size_t>(end - text.begin()));
        plain += masked(scheme, word.substr(scheme.size()));
        text.remove_prefix(word.size());
    }
    return plain;
}

} // namespace kvnsim
