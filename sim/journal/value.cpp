#include "sim/journal/value.h"

#include <algorithm>

#include <fmt/format.h>

#include "sim/types/json.h"

namespace kvnsim {

namespace {

void write(Json &json, const Value &value)
{
    switch (value.kind()) {
    case Value::Kind::null:
        json.null();
        break;
    case Value::Kind::integer:
        json.value(value.number());
        break;
    case Value::Kind::text:
        json.value(value.string());
        break;
    case Value::Kind::record:
        json.begin_object();
        for (const Field &field : value.fields())
            write(json.key(field.name), field.value);
        json.end_object();
        break;
    }
}

} // namespace

Value Value::integer(int64_t number, Style style)
{
    Value value;
    value.kind_ = Kind::integer;
    value.style_ = style;
    value.number_ = number;
    return value;
}

Value Value::named(int64_t number, std::string name)
{
    Value value = integer(number);
    value.text_ = std::move(name);
    return value;
}

Value Value::text(std::string text)
{
    Value value;
    value.kind_ = Kind::text;
    value.text_ = std::move(text);
    return value;
}

Value Value::record(std::vector<Field> fields)
{
    Value value;
    value.kind_ = Kind::record;
    value.fields_ = std::move(fields);
    return value;
}

const Value *Value::find(std::string_view name) const
{
    const auto at = std::find_if(fields_.begin(), fields_.end(),
                                 [&](const Field &field) { return field.name == name; });
    return at == fields_.end() ? nullptr : &at->value;
}

std::string Value::to_text() const
{
    switch (kind_) {
    case Kind::null:
        return "none";
    case Kind::integer:
        if (!text_.empty())
            return text_;
        return style_ == Style::hex ? fmt::format("{:#x}", number_) : fmt::format("{}", number_);
    case Kind::text:
        return to_json();
    case Kind::record:
        break;
    }
    std::string text = "{";
    for (const Field &field : fields_) {
        if (text.size() > 1)
            text += ' ';
        text += field.name + '=' + field.value.to_text();
    }
    return text + '}';
}

std::string Value::to_json() const
{
    Json json;
    write(json, *this);
    return json.text();
}

bool operator==(const Value &a, const Value &b)
{
    if (a.kind_ != b.kind_)
        return false;
    switch (a.kind_) {
    case Value::Kind::null:
        return true;
    case Value::Kind::integer:
        return a.number_ == b.number_;
    case Value::Kind::text:
        return a.text_ == b.text_;
    case Value::Kind::record:
        return a.fields_ == b.fields_;
    }
    return false;
}

bool operator==(const Field &a, const Field &b)
{
    return a.name == b.name && a.value == b.value;
}

} // namespace kvnsim
