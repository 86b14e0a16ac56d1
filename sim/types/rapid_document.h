#pragma once

#include <rapidjson/document.h>
#include <rapidjson/reader.h>

#include "sim/types/rapid.h"

namespace kvnsim::rapid {

using Reader = rapidjson::GenericReader<Encoding, Encoding, Allocator>;
using Document =
    rapidjson::GenericDocument<Encoding, rapidjson::MemoryPoolAllocator<Allocator>, Allocator>;
using Value = Document::ValueType;

} // namespace kvnsim::rapid
