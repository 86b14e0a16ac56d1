#pragma once

#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

/* Writing JSON, for this folder's sources. */
namespace kvnsim {

struct Listing;
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

inline void put(JsonWriter &writer, std::string_view text)
{
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
inline void put_key(JsonWriter &writer, std::string_view key)
{
    writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}
void write(JsonWriter &writer, const Listing &listing);

} // namespace kvnsim
