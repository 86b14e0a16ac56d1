#include "sim/campaign/result_object.h"

#include <fmt/format.h>
#include <rapidjson/error/en.h>

namespace kvnsim {
namespace {

std::string text_of(const rapid::Value &value)
{
    return {value.GetString(), value.GetStringLength()};
}

} // namespace

rapid::Document parse_line(const std::string &line, const std::string &place)
{
    constexpr unsigned flags =
        rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
    rapid::Document json;
    if (json.Parse<flags>(line.data(), line.size()).HasParseError())
        throw ResultsError(fmt::format("{}:{}: damaged line: {}", place, json.GetErrorOffset() + 1,
                                       rapidjson::GetParseError_En(json.GetParseError())));
    return json;
}

ResultObject::ResultObject(const rapid::Value &object, const std::string &place)
    : object_(&object), place_(&place)
{
    if (!object.IsObject())
        damaged("expected an object");
}

void ResultObject::damaged(const std::string &what) const
{
    throw ResultsError(fmt::format("{}: damaged line: {}", *place_, what));
}

void ResultObject::expected(const char *name, const std::string &what) const
{
    damaged(fmt::format("\"{}\": expected {}", name, what));
}

bool ResultObject::has(const char *name) const
{
    return object_->HasMember(name);
}

const rapid::Value &ResultObject::field(const char *name) const
{
    const auto found = object_->FindMember(name);
    if (found == object_->MemberEnd())
        damaged(fmt::format("\"{}\" is missing", name));
    return found->value;
}

bool ResultObject::is_null(const char *name) const
{
    return field(name).IsNull();
}

std::string ResultObject::text(const char *name) const
{
    if (!field(name).IsString())
        expected(name, "a text");
    return text_of(field(name));
}

std::string ResultObject::text_or_null(const char *name) const
{
    return is_null(name) ? "" : text(name);
}

uint64_t ResultObject::number(const char *name, uint64_t most) const
{
    const rapid::Value &value = field(name);
    if (!value.IsUint64() || value.GetUint64() > most)
        expected(name, fmt::format("a number up to {}", most));
    return value.GetUint64();
}

std::optional<int64_t> ResultObject::integer_or_null(const char *name) const
{
    if (is_null(name))
        return std::nullopt;
    if (!field(name).IsInt64())
        expected(name, "a number");
    return field(name).GetInt64();
}

bool ResultObject::flag(const char *name) const
{
    if (!field(name).IsBool())
        expected(name, "true or false");
    return field(name).GetBool();
}

std::vector<uint64_t> ResultObject::numbers(const char *name) const
{
    if (!field(name).IsArray())
        expected(name, "a list");
    std::vector<uint64_t> all;
    for (const rapid::Value &value : field(name).GetArray()) {
        if (!value.IsUint64())
            expected(name, "a list of numbers");
        all.push_back(value.GetUint64());
    }
    return all;
}

ResultObject ResultObject::object(const char *name) const
{
    if (!field(name).IsObject())
        expected(name, "an object");
    return {field(name), *place_};
}

std::optional<ResultObject> ResultObject::object_or_null(const char *name) const
{
    return is_null(name) ? std::nullopt : std::optional(object(name));
}

std::vector<ResultObject> ResultObject::objects(const char *name) const
{
    if (!field(name).IsArray())
        expected(name, "a list");
    std::vector<ResultObject> all;
    for (const rapid::Value &value : field(name).GetArray()) {
        if (!value.IsObject())
            expected(name, "a list of objects");
        all.emplace_back(value, *place_);
    }
    return all;
}

std::vector<std::pair<std::string, std::string>> ResultObject::named_texts(const char *name) const
{
    std::vector<std::pair<std::string, std::string>> all;
    for (const auto &member : object(name).object_->GetObject()) {
        if (!member.value.IsString())
            expected(name, "texts");
        all.emplace_back(text_of(member.name), text_of(member.value));
    }
    return all;
}

std::map<std::string, uint64_t> ResultObject::named_numbers(const char *name) const
{
    std::map<std::string, uint64_t> all;
    for (const auto &member : object(name).object_->GetObject()) {
        if (!member.value.IsUint64())
            expected(name, "numbers");
        all.emplace(text_of(member.name), member.value.GetUint64());
    }
    return all;
}

} // namespace kvnsim
