#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "sim/types/rapid_document.h"

namespace kvnsim {

/* Why results cannot be read or put together, with the place, or what is missing; a line for each
 * cut line before it. */
class ResultsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* The JSON of a line, parsed; ResultsError for what is no object. The place is that of the line:
 * "a.jsonl:17". Texts are UTF-8. */
rapid::Document parse_line(const std::string &line, const std::string &place);

/* An object in a line, which may hold anything: each function throws ResultsError when the field is
 * not there or not what it should be. Document and place must outlive it. */
class ResultObject {
public:
    ResultObject(const rapid::Value &object, const std::string &place);

    bool has(const char *name) const; /* whatever it is */
    bool is_null(const char *name) const;
    std::string text(const char *name) const;
    std::string text_or_null(const char *name) const; /* "" for null */
    uint64_t number(const char *name, uint64_t most = INT64_MAX) const;
    std::optional<int64_t> integer_or_null(const char *name) const;
    bool flag(const char *name) const;
    std::vector<uint64_t> numbers(const char *name) const;
    ResultObject object(const char *name) const;
    std::optional<ResultObject> object_or_null(const char *name) const;
    std::vector<ResultObject> objects(const char *name) const;
    /* Of an object used as a list of names with values, in its order. */
    std::vector<std::pair<std::string, std::string>> named_texts(const char *name) const;
    std::map<std::string, uint64_t> named_numbers(const char *name) const;

    [[noreturn]] void damaged(const std::string &what) const;

private:
    const rapid::Value &field(const char *name) const;
    [[noreturn]] void expected(const char *name, const std::string &what) const;

    const rapid::Value *object_;
    const std::string *place_;
};

} // namespace kvnsim
