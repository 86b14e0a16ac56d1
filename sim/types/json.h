#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvnsim {

/* Writes one JSON document. Bytes that are not UTF-8, as in a file's name, are replaced. */
class Json {
public:
    Json();
    ~Json();
    Json(const Json &) = delete;
    Json &operator=(const Json &) = delete;

    Json &begin_object();
    Json &end_object();
    Json &begin_array();
    Json &end_array();
    Json &key(std::string_view name);

    Json &null();
    Json &value(std::string_view text);
    Json &value(const char *text) { return value(std::string_view(text)); }
    Json &value(const std::string &text) { return value(std::string_view(text)); }
    Json &value(bool flag);
    Json &value(double number);
    Json &value(int64_t number);
    Json &value(uint64_t number);
    Json &value(int32_t number) { return value(int64_t{number}); }
    Json &value(uint32_t number) { return value(uint64_t{number}); }
    template <class T> Json &value(const std::optional<T> &of) { return of ? value(*of) : null(); }
    template <class T> Json &value(const std::vector<T> &list)
    {
        begin_array();
        for (const T &one : list)
            value(one);
        return end_array();
    }

    template <class T> Json &field(std::string_view name, const T &of)
    {
        return key(name).value(of);
    }
    /* An empty text is null. */
    Json &text_or_null(std::string_view name, std::string_view text)
    {
        return text.empty() ? key(name).null() : field(name, text);
    }

    std::string text() const;
    std::string document() const { return text() + '\n'; }

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace kvnsim
