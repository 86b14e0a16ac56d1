#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kvnsim {

struct Field;

/* A value that crossed the library's boundary, in the form that timelines print and recordings
 * keep: null, an integer, a text, or a record of named values. */
class Value {
public:
    enum class Kind : uint8_t { null, integer, text, record };
    enum class Style : uint8_t { decimal, hex }; /* how an integer is printed; not compared */

    Value() = default;
    static Value integer(int64_t number, Style style = Style::decimal);
    /* An integer that people know by a name: printed as the name, else as any integer. */
    static Value named(int64_t number, std::string name);
    static Value text(std::string text);
    static Value record(std::vector<Field> fields);

    Kind kind() const { return kind_; }
    int64_t number() const { return number_; }          /* 0 unless an integer */
    const std::string &string() const { return text_; } /* empty unless a text or named */
    const std::vector<Field> &fields() const { return fields_; }
    const Value *find(std::string_view name) const; /* a record's field, or nullptr */

    /* "5", "0x10000000", "\"text\"", "{param1=1 param2=0}", "none" for null. */
    std::string to_text() const;
    /* One line of JSON; integers are decimal, null is null. */
    std::string to_json() const;

    friend bool operator==(const Value &a, const Value &b);
    friend bool operator!=(const Value &a, const Value &b) { return !(a == b); }

private:
    Value(Kind kind, Style style, int64_t number, std::string text, std::vector<Field> fields);

    Kind kind_ = Kind::null;
    Style style_ = Style::decimal;
    int64_t number_ = 0;
    std::string text_; /* the text, or an integer's name; the latter is not compared */
    std::vector<Field> fields_;
};

struct Field {
    std::string name;
    Value value;
};

bool operator==(const Field &a, const Field &b);

/* "intf_id=3 value={param1=1}" */
std::string to_text(const std::vector<Field> &fields);

} // namespace kvnsim
