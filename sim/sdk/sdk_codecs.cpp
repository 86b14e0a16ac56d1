#include "sim/sdk/sdk_codecs.h"

#include <array>
#include <cstring>

#include <fmt/format.h>

#include "kvnsim/sdk.h"
#include "sim/sdk/attributes.h"

namespace kvnsim {

namespace {

template <class T> T load(const void *data)
{
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

/* The words of a record that is nothing but 32-bit words, and the name of each. */
template <class Record> using Words = std::array<uint32_t, sizeof(Record) / sizeof(uint32_t)>;

template <class Record> std::string word_name(size_t i)
{
    if constexpr (std::is_same_v<Record, sdk_switch_config>)
        return fmt::format("word{}", i);
    else
        return fmt::format("param{}", i + 1);
}

template <class Record> Value read_words(const void *data)
{
    const auto words = load<Words<Record>>(data);
    std::vector<Field> fields;
    for (size_t i = 0; i < words.size(); ++i) {
        if (i == 0 || words[i] != 0)
            fields.push_back({word_name<Record>(i), Value::integer(words[i])});
    }
    return Value::record(std::move(fields));
}

template <class Record> void write_words(void *data, const Value &value)
{
    Words<Record> words{};
    for (size_t i = 0; i < words.size(); ++i) {
        if (const Value *word = value.find(word_name<Record>(i)))
            words[i] = static_cast<uint32_t>(word->number());
    }
    std::memcpy(data, words.data(), sizeof words);
}

template <class Record> constexpr Codec words_codec{read_words<Record>, write_words<Record>};

Value read_attribute(const void *data)
{
    const auto number = load<uint32_t>(data);
    const AttributeRow *row = find_attribute(number);
    return Value::named(number, row ? row->name : "");
}

template <class Word> Value read_mac_word(const void *data)
{
    const auto bytes = load<std::array<uint8_t, sizeof(Word)>>(data);
    return Value::named(load<Word>(data), fmt::format("{:02x}", fmt::join(bytes, ":")));
}

constexpr Codec attribute_number_codec{read_attribute, nullptr};
template <class Word> constexpr Codec mac_word_codec{read_mac_word<Word>, nullptr};

} // namespace

template <> const Codec &codec<sdk_intf_create_params>()
{
    return words_codec<sdk_intf_create_params>;
}
template <> const Codec &codec<sdk_intf_attr_value>()
{
    return words_codec<sdk_intf_attr_value>;
}
template <> const Codec &codec<sdk_switch_config>()
{
    return words_codec<sdk_switch_config>;
}
const Codec &attribute_codec()
{
    return attribute_number_codec;
}
const Codec &mac_lo_codec()
{
    return mac_word_codec<uint32_t>;
}
const Codec &mac_hi_codec()
{
    return mac_word_codec<uint16_t>;
}

} // namespace kvnsim

using kvnsim::Value;

Value to_value(const sdk_lid_path &path)
{
    const char *name = path.port_type == SdkPortTypeChannel                 ? "SdkPortTypeChannel"
                       : path.port_type == KVNSIM_SDK_PORT_TYPE_FRONT_PANEL ? "front panel"
                                                                            : "";
    return Value::record({{"port_type", Value::named(path.port_type, name)},
                          {"front_port", Value::integer(path.front_port)},
                          {"pc_id", Value::integer(path.pc_id)}});
}

Value to_value(const sdk_port_mask &mask)
{
    std::string ports;
    for (uint32_t port = 0; port < 256; ++port) {
        if (mask.port_bitmap[port >> 3] & (0x80 >> (port & 7)))
            ports += fmt::format("{}{}", ports.empty() ? "" : " ", port);
    }
    return Value::record({{"mask_len", Value::integer(mask.mask_len)},
                          {"front_ports", Value::text(std::move(ports))}});
}
