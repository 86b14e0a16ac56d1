#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/types/rapid.h"

namespace kvnsim {

/* Writes one JSON document. Bytes that are not UTF-8, as in a file's name, are replaced; characters
 * that could steer a terminal are escaped. */
class Json {
public:
    Json &begin_object() { return after(writer_.StartObject()); }
    Json &end_object() { return after(writer_.EndObject()); }
    Json &begin_array() { return after(writer_.StartArray()); }
    Json &end_array() { return after(writer_.EndArray()); }
    Json &key(std::string_view name) { return value(name); }

    Json &null() { return after(writer_.Null()); }
    Json &value(std::string_view text);
    Json &value(const char *text) { return value(std::string_view(text)); }
    Json &value(const std::string &text) { return value(std::string_view(text)); }
    Json &value(bool flag) { return after(writer_.Bool(flag)); }
    Json &value(double number) { return after(writer_.Double(number)); }
    Json &value(int64_t number) { return after(writer_.Int64(number)); }
    Json &value(uint64_t number) { return after(writer_.Uint64(number)); }
    Json &value(int32_t number) { return value(int64_t{number}); }
    Json &value(uint32_t number) { return value(uint64_t{number}); }
    template <class T> Json &value(const std::optional<T> &of) { return of ? value(*of) : null(); }
    template <class T> Json &value(const std::vector<T> &list)
    {
        begin_array();
        for (const T &one : list)
            value(one);
        return end_array();
    }

    template <class T> Json &field(std::string_view name, const T &of)
    {
        return key(name).value(of);
    }
    /* An empty text is null. */
    Json &text_or_null(std::string_view name, std::string_view text)
    {
        return text.empty() ? key(name).null() : field(name, text);
    }

    std::string text() const;
    std::string document() const { return text() + '\n'; }

private:
    Json &after(bool) { return *this; } /* writing to memory does not fail */

    rapid::StringBuffer buffer_;
    rapid::Writer writer_{buffer_};
};

} // namespace kvnsim
