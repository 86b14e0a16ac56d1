#pragma once

#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "sim/state/show.h"

/* Writing JSON of what is shown. */
namespace kvnsim {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

inline void put(JsonWriter &writer, std::string_view text)
{
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
inline void put_key(JsonWriter &writer, std::string_view key)
{
    writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}
void write(JsonWriter &writer, const Cell &cell);
void write(JsonWriter &writer, const Listing &listing);

} // namespace kvnsim
