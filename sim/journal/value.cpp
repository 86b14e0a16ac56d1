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

Value::Value(Kind kind, Style style, int64_t number, std::string text, std::vector<Field> fields)
    : kind_(kind), style_(style), number_(number), text_(std::move(text)),
      fields_(std::move(fields))
{}

Value Value::integer(int64_t number, Style style)
{
    return {Kind::integer, style, number, "", {}};
}

Value Value::named(int64_t number, std::string name)
{
    return {Kind::integer, Style::decimal, number, std::move(name), {}};
}

Value Value::text(std::string text)
{
    return {Kind::text, Style::decimal, 0, std::move(text), {}};
}

Value Value::record(std::vector<Field> fields)
{
    return {Kind::record, Style::decimal, 0, "", std::move(fields)};
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
        return style_ == Style::hex ? fmt::format("{:#x}", number_) : std::to_string(number_);
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
    return a.kind_ == b.kind_ && a.number_ == b.number_ && a.fields_ == b.fields_ &&
           (a.kind_ == Value::Kind::integer || a.text_ == b.text_);
}

bool operator==(const Field &a, const Field &b)
{
    return a.name == b.name && a.value == b.value;
}

std::string to_text(const std::vector<Field> &fields)
{
    std::string text;
    for (const Field &field : fields)
        text += fmt::format("{}{}={}", text.empty() ? "" : " ", field.name, field.value.to_text());
    return text;
}

} // namespace kvnsim
