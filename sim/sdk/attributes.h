#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace kvnsim {

/* The values that an attribute takes: min..max, both included. */
struct ValueRule {
    const char *words; /* "0 or 1", "68 to 9216" */
    uint32_t min, max;
    bool accepts(uint32_t value) const { return value >= min && value <= max; }
};

/* An attribute of an SDK interface. */
struct AttributeRow {
    uint32_t number;
    const char *name;        /* the SDK's enumerator: "SdkIntfAttrMtuIdx" */
    const char *description; /* "MTU in bytes" */
    const char *property;    /* the usual name: "MTU" */
    const char *short_name;  /* for narrow columns: "v4mc" */
    const ValueRule *rule;
    uint32_t initial = 0; /* what a new interface has */
    bool hex = false;     /* a bit set or a label, printed in hexadecimal */
};

/* Every attribute, in the order of the numbers. */
const std::vector<AttributeRow> &attributes();
/* The attribute of that number or name, or nullptr. */
const AttributeRow *find_attribute(uint32_t number);
const AttributeRow *find_attribute(std::string_view name);

} // namespace kvnsim
