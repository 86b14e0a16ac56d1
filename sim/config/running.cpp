/* The client's library connects, writes commands in the server's protocol and takes replies apart.
 * Sending and receiving are done here, so that whatever the server does, waiting ends and memory is
 * bounded: a reply counts its bytes as they arrive and its elements before they are made. */
#include "sim/config/running.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <hiredis/hiredis.h>
#include <poll.h>
#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>
#include <sys/socket.h>

#include "sim/config/document.h"
#include "sim/config/findings.h"
#include "sim/config/names.h"
#include "sim/config/tables.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds longest_silence(5); /* also of connecting */
constexpr seconds longest_reading(60);
constexpr milliseconds stop_interval(100); /* of asking whether to stop */
constexpr size_t most_bytes = size_t{64} << 20;
constexpr size_t most_elements = size_t{1} << 20; /* of one reply, nested ones included */
constexpr size_t keys_at_once = 500;

/* ---- Replies ---- */

struct Reply {
    int type = REDIS_REPLY_NIL;
    std::string text; /* of a string, status or error */
    std::vector<Reply> elements;

    bool is_text() const { return type == REDIS_REPLY_STRING; }
    bool is_list() const { return type == REDIS_REPLY_ARRAY; }
    bool is_list_of_texts() const
    {
        return is_list() && std::all_of(elements.begin(), elements.end(),
                                        [](const Reply &element) { return element.is_text(); });
    }
    bool is_error(std::string_view code) const
    {
        return type == REDIS_REPLY_ERROR && starts_with(text, code);
    }
};

/* Called by the library for each part of a reply. The counter is of the elements still allowed. A
 * null pointer ends the reading of the reply. */
void *add_reply(const redisReadTask *task, size_t elements, std::string_view text = {})
{
    auto &allowed = *static_cast<size_t *>(task->privdata);
    if (elements > allowed)
        return nullptr;
    allowed -= elements;
    try {
        auto reply = std::make_unique<Reply>();
        reply->type = task->type;
        reply->text = text;
        if (task->parent == nullptr)
            return reply.release();
        auto &siblings = static_cast<Reply *>(task->parent->obj)->elements;
        siblings.push_back(std::move(*reply));
        return &siblings.back();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void *add_text(const redisReadTask *task, char *text, size_t length)
{
    return add_reply(task, 0, {text, length});
}
void *add_list(const redisReadTask *task, int elements)
{
    return add_reply(task, elements < 0 ? 0 : static_cast<size_t>(elements));
}
void *add_integer(const redisReadTask *task, long long)
{
    return add_reply(task, 0);
}
void *add_nil(const redisReadTask *task)
{
    return add_reply(task, 0);
}
void free_reply(void *reply)
{
    delete static_cast<Reply *>(reply);
}
redisReplyObjectFunctions reply_functions{add_text, add_list, add_integer, add_nil, free_reply};

[[noreturn]] void refuse_reply(const char *command)
{
    throw DatabaseError(fmt::format("not the expected reply to {}", command));
}

/* ---- Rows ---- */

bool is_utf8(const std::string &text)
{
    struct {
        void Put(char) {} // NOLINT(readability-identifier-naming): as the encoding calls it
    } nothing;
    rapidjson::MemoryStream bytes(text.data(), text.size());
    while (bytes.Tell() < text.size()) {
        if (!rapidjson::UTF8<>::Validate(bytes, nothing))
            return false;
    }
    return true;
}

using Fields = std::map<std::string, std::string>;

bool is_utf8(const Fields &fields)
{
    return std::all_of(fields.begin(), fields.end(), [](const auto &field) {
        return is_utf8(field.first) && is_utf8(field.second);
    });
}

} // namespace

Configuration read_configuration(const std::string &name, const RunningRows &rows)
{
    const SourceLocation whole{name, 0, 0, {}, {}};
    std::vector<Finding> findings;
    bool is_understood = !rows.rows.empty();
    std::map<std::string_view, const Fields *, NaturalOrder> sorted;
    uint64_t other_keys = rows.other_keys;
    for (const auto &[key, fields] : rows.rows) {
        if (!is_flat_name(key)) {
            ++other_keys;
        } else if (is_utf8(key) && is_utf8(fields)) {
            sorted.emplace(key, &fields);
        } else {
            const size_t bar = key.find('|');
            findings.push_back(make_finding(
                FindingId::no_utf8, {name, 0, 0, key.substr(0, bar), key.substr(bar + 1)}, {}));
            is_understood = false;
        }
    }
    if (rows.rows.empty())
        findings.push_back(make_finding(FindingId::no_rows, whole, {}));
    if (other_keys != 0)
        findings.push_back(
            make_finding(FindingId::other_keys, whole, {fmt::to_string(other_keys)}));
    if (!is_understood)
        return read_configuration(name, Document(), std::move(findings));

    std::vector<DocumentEntry> entries;
    for (const auto &[key, fields] : sorted) {
        DocumentEntry &row =
            entries.emplace_back(DocumentEntry{key, nowhere, ValueKind::object, {}, nowhere, {}});
        for (const auto &[field, text] : *fields)
            row.entries.push_back({field, nowhere, ValueKind::text, text, nowhere, {}});
    }
    Document document = make_document(name, std::move(entries), is_known_table, findings);
    return read_configuration(name, std::move(document), std::move(findings));
}

/* ---- The connection ---- */

class RunningDatabase::Connection {
public:
    Connection(const DatabaseUrl &url, std::function<bool()> stop)
        : stop_(std::move(stop)), context_(connected(url)),
          reader_(redisReaderCreateWithFunctions(&reply_functions), redisReaderFree)
    {
        if (!reader_)
            throw std::bad_alloc();
        reader_->privdata = &elements_allowed_;
        const int flags = ::fcntl(context_->fd, F_GETFL);
        if (flags < 0 || ::fcntl(context_->fd, F_SETFL, flags | O_NONBLOCK) < 0)
            throw DatabaseError(std::strerror(errno));
        database_ = std::to_string(url.database);
        begin();
        if (!url.password.empty()) {
            if (url.user.empty())
                ask({"AUTH", url.password});
            else
                ask({"AUTH", url.user, url.password});
        }
        ask({"SELECT", database_});
    }

    RunningRows read()
    {
        begin();
        RunningRows found;
        std::string cursor = "0";
        do {
            Reply reply = ask({"SCAN", cursor, "COUNT", std::to_string(keys_at_once)});
            if (!reply.is_list() || reply.elements.size() != 2 || !reply.elements[0].is_text() ||
                !reply.elements[1].is_list_of_texts())
                refuse_reply("SCAN");
            cursor = std::move(reply.elements[0].text);
            std::vector<std::string> keys;
            for (Reply &key : reply.elements[1].elements) {
                if (is_flat_name(key.text))
                    keys.push_back(std::move(key.text));
                else
                    other_keys_.insert(std::move(key.text));
            }
            read_rows(std::move(keys), found);
        } while (cursor != "0");
        found.other_keys = std::exchange(other_keys_, {}).size();
        return found;
    }

    bool follow()
    {
        begin();
        send({"CONFIG", "GET", "notify-keyspace-events"});
        const Reply setting = receive();
        if (!setting.is_list_of_texts() || setting.elements.size() != 2)
            return false;
        const std::string &events = setting.elements[1].text;
        const auto has = [&](char event) { return events.find(event) != events.npos; };
        if (!has('K') || !(has('A') || (has('g') && has('h'))))
            return false;
        send({"PSUBSCRIBE", "__keyspace@" + database_ + "__:*"});
        const Reply reply = receive();
        return reply.is_list() && !reply.elements.empty() && reply.elements[0].text == "psubscribe";
    }

    bool changed_within(milliseconds time)
    {
        begin();
        const auto end = Clock::now() + time;
        bool changed = false;
        for (;;) {
            while (const auto message = next_reply()) {
                if (!message->is_list() || message->elements.empty() ||
                    message->elements[0].text != "pmessage")
                    refuse_reply("PSUBSCRIBE");
                changed = true;
                begin();
            }
            if (changed || is_stopped() || Clock::now() >= end)
                return changed;
            exchange(end);
        }
    }

private:
    using Context = std::unique_ptr<redisContext, void (*)(redisContext *)>;

    Context connected(const DatabaseUrl &url) const
    {
        const timeval timeout{longest_silence.count(), 0};
        Context context(url.socket.empty()
                            ? redisConnectWithTimeout(url.host.c_str(), url.port, timeout)
                            : redisConnectUnixWithTimeout(url.socket.c_str(), timeout),
                        redisFree);
        if (!context)
            throw std::bad_alloc();
        if (context->err == 0)
            return context;
        if (is_stopped())
            throw DatabaseError("interrupted");
        throw DatabaseError(printable(context->errstr));
    }

    bool is_stopped() const { return stop_ && stop_(); }

    /* Allowances and time limits start anew. */
    void begin()
    {
        bytes_received_ = 0;
        elements_allowed_ = most_elements;
        heard_ = began_ = Clock::now();
    }

    void send(const std::vector<std::string> &words)
    {
        std::vector<const char *> texts;
        std::vector<size_t> lengths;
        for (const std::string &word : words) {
            texts.push_back(word.data());
            lengths.push_back(word.size());
        }
        char *command = nullptr;
        const int length = redisFormatCommandArgv(&command, static_cast<int>(words.size()),
                                                  texts.data(), lengths.data());
        if (length < 0)
            throw std::bad_alloc();
        const std::unique_ptr<char, void (*)(char *)> owned(command, redisFreeCommand);
        to_send_.append(command, static_cast<size_t>(length));
    }

    Reply receive()
    {
        for (;;) {
            if (auto reply = next_reply())
                return std::move(*reply);
            if (is_stopped())
                throw DatabaseError("interrupted");
            const auto now = Clock::now();
            if (now >= heard_ + longest_silence)
                throw DatabaseError(
                    fmt::format("no answer within {} seconds", longest_silence.count()));
            if (now >= began_ + longest_reading)
                throw DatabaseError(
                    fmt::format("not read within {} seconds", longest_reading.count()));
            exchange(std::min(heard_ + longest_silence, began_ + longest_reading));
        }
    }

    /* A reply that must not be an error. */
    Reply ask(const std::vector<std::string> &words)
    {
        send(words);
        Reply reply = receive();
        refuse_error(reply);
        return reply;
    }

    static void refuse_error(const Reply &reply)
    {
        if (reply.is_error(""))
            throw DatabaseError("the server answered " + in_quotes(reply.text));
    }

    /* The next one among what has been received. */
    std::unique_ptr<Reply> next_reply()
    {
        void *reply = nullptr;
        if (redisReaderGetReply(reader_.get(), &reply) != REDIS_OK) {
            if (reader_->err == REDIS_ERR_OOM)
                throw DatabaseError(fmt::format("a reply of more than {} elements", most_elements));
            throw DatabaseError(fmt::format("malformed reply: {}", printable(reader_->errstr)));
        }
        if (reply != nullptr)
            elements_allowed_ = most_elements;
        return std::unique_ptr<Reply>(static_cast<Reply *>(reply));
    }

    /* Wait until then, but not long, for the server to take or give something, and send and receive
     * what is possible. */
    void exchange(Clock::time_point until)
    {
        const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
        pollfd socket{context_->fd, POLLIN, 0};
        if (!to_send_.empty())
            socket.events |= POLLOUT;
        const auto wait = std::clamp(left, milliseconds(0), stop_interval);
        if (::poll(&socket, 1, static_cast<int>(wait.count())) <= 0)
            return;
        if ((socket.revents & POLLOUT) != 0) {
            const ssize_t sent =
                ::send(context_->fd, to_send_.data(), to_send_.size(), MSG_NOSIGNAL);
            if (sent > 0)
                to_send_.erase(0, static_cast<size_t>(sent));
            else if (!is_passing(errno))
                throw DatabaseError(std::strerror(errno));
        }
        if ((socket.revents & ~POLLOUT) == 0)
            return;
        char block[16384];
        const ssize_t got = ::recv(context_->fd, block, sizeof block, 0);
        if (got == 0)
            throw DatabaseError("the server closed the connection");
        if (got < 0) {
            if (!is_passing(errno))
                throw DatabaseError(std::strerror(errno));
            return;
        }
        heard_ = Clock::now();
        bytes_received_ += static_cast<size_t>(got);
        if (bytes_received_ > most_bytes)
            throw DatabaseError(fmt::format("larger than {} MiB", most_bytes >> 20));
        if (redisReaderFeed(reader_.get(), block, static_cast<size_t>(got)) != REDIS_OK)
            throw std::bad_alloc();
    }

    static bool is_passing(int reason)
    {
        return reason == EINTR || reason == EAGAIN || reason == EWOULDBLOCK;
    }

    /* A key that was deleted meanwhile has no fields. */
    void read_rows(std::vector<std::string> keys, RunningRows &found)
    {
        for (const std::string &key : keys)
            send({"HGETALL", key});
        for (std::string &key : keys) {
            Reply reply = receive();
            if (reply.is_error("WRONGTYPE")) {
                other_keys_.insert(std::move(key));
                continue;
            }
            refuse_error(reply);
            if (!reply.is_list_of_texts() || reply.elements.size() % 2 != 0)
                refuse_reply("HGETALL");
            Fields fields;
            for (size_t i = 0; i < reply.elements.size(); i += 2)
                fields.emplace(std::move(reply.elements[i].text),
                               std::move(reply.elements[i + 1].text));
            if (!fields.empty())
                found.rows.insert_or_assign(std::move(key), std::move(fields));
        }
    }

    const std::function<bool()> stop_;
    const Context context_;
    const std::unique_ptr<redisReader, void (*)(redisReader *)> reader_;
    std::string database_;
    std::string to_send_;
    std::set<std::string> other_keys_; /* the server may name a key twice */
    size_t bytes_received_ = 0, elements_allowed_ = 0;
    Clock::time_point began_, heard_;
};

RunningDatabase::RunningDatabase(const DatabaseUrl &url, std::function<bool()> stop)
    : connection_(std::make_unique<Connection>(url, std::move(stop)))
{}

RunningDatabase::~RunningDatabase() = default;

RunningRows RunningDatabase::read()
{
    return connection_->read();
}

bool RunningDatabase::follow()
{
    return connection_->follow();
}

bool RunningDatabase::changed_within(milliseconds time)
{
    return connection_->changed_within(time);
}

} // namespace kvnsim
