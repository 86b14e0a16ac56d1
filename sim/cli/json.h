#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sim/config/desired.h"
#include "sim/state/json.h"

namespace kvnsim {

/* Writes one JSON document. Text that is no UTF-8 has its stray bytes replaced. */
class Json {
public:
    Json() : writer_(buffer_) {}

    Json &begin_object() { return did(writer_.StartObject()); }
    Json &end_object() { return did(writer_.EndObject()); }
    Json &begin_array() { return did(writer_.StartArray()); }
    Json &end_array() { return did(writer_.EndArray()); }
    Json &key(std::string_view name);
    Json &value(std::string_view text);
    Json &value(const char *text) { return value(std::string_view(text)); }
    Json &value(const std::string &text) { return value(std::string_view(text)); }
    Json &value(bool flag) { return did(writer_.Bool(flag)); }
    Json &value(int64_t number) { return did(writer_.Int64(number)); }
    Json &value(uint64_t number) { return did(writer_.Uint64(number)); }
    Json &value(uint32_t number) { return did(writer_.Uint(number)); }
    Json &null() { return did(writer_.Null()); }
    /* A document of its own, of that kind. */
    Json &raw(std::string_view json, rapidjson::Type type);
    template <class Value> Json &field(std::string_view name, const Value &of)
    {
        return key(name).value(of);
    }

    /* "file", "line", "column", "table", "key"; the last four null where there are none. */
    Json &location(const SourceLocation &location);
    /* "file", "findings" and "ignored" of a configuration, within an object. */
    Json &configuration(const Configuration &configuration);

    /* The document, ended with a newline. */
    std::string document() const { return std::string(buffer_.GetString()) + "\n"; }

private:
    Json &did(bool) { return *this; }

    rapidjson::StringBuffer buffer_;
    JsonWriter writer_;
};

} // namespace kvnsim
