#pragma once

#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "sim/state/show.h"

/* Writing JSON of what is shown. */
namespace kvnsim {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

/* Text that is no UTF-8, as a file's name may be, has its stray bytes replaced. */
void put(JsonWriter &writer, std::string_view text);
void put_key(JsonWriter &writer, std::string_view key);
void write(JsonWriter &writer, const Cell &cell);
void write(JsonWriter &writer, const Listing &listing);

} // namespace kvnsim
