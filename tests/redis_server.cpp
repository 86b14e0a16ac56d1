#include "tests/redis_server.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hiredis/hiredis.h>
#include <rapidjson/document.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kvnsim::test {
namespace {

using Context = std::unique_ptr<redisContext, void (*)(redisContext *)>;

std::string found_in_path(const std::string &program)
{
    const char *path = std::getenv("PATH");
    std::string rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const std::string folder = rest.substr(0, rest.find(':'));
        rest.erase(0, folder.size() + 1);
        if (access((folder + "/" + program).c_str(), X_OK) == 0)
            return folder + "/" + program;
    }
    return "";
}

/* The server's program is also its checker, by another name: the package of the tools has it
 * without the service. */
std::string server_program()
{
    const std::string server = found_in_path("redis-server");
    return server.empty() ? found_in_path("redis-check-rdb") : server;
}

uint16_t free_port()
{
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(probe, reinterpret_cast<sockaddr *>(&address), length) != 0 ||
        getsockname(probe, reinterpret_cast<sockaddr *>(&address), &length) != 0)
        throw std::runtime_error("no free port");
    close(probe);
    return ntohs(address.sin_port);
}

std::string text_of(const redisReply &reply)
{
    if (reply.type == REDIS_REPLY_INTEGER)
        return std::to_string(reply.integer);
    std::string text(reply.str != nullptr ? reply.str : "", reply.str != nullptr ? reply.len : 0);
    for (size_t i = 0; i < reply.elements; ++i)
        text += text_of(*reply.element[i]) + "\n";
    return text;
}

std::string execute(redisContext *context, const std::vector<std::string> &words)
{
    std::vector<const char *> texts;
    std::vector<size_t> lengths;
    for (const std::string &word : words) {
        texts.push_back(word.data());
        lengths.push_back(word.size());
    }
    const std::unique_ptr<void, void (*)(void *)> owned(
        redisCommandArgv(context, static_cast<int>(words.size()), texts.data(), lengths.data()),
        freeReplyObject);
    if (!owned)
        throw std::runtime_error(std::string("no reply: ") + context->errstr);
    const auto &reply = *static_cast<const redisReply *>(owned.get());
    if (reply.type == REDIS_REPLY_ERROR)
        ADD_FAILURE() << words[0] << ": " << reply.str;
    return text_of(reply);
}

Context connected(uint16_t port, const std::string &password)
{
    Context context(redisConnect("127.0.0.1", port), redisFree);
    if (!context || context->err != 0)
        throw std::runtime_error("no connection");
    if (!password.empty())
        execute(context.get(), {"AUTH", password});
    execute(context.get(), {"SELECT", "4"});
    return context;
}

/* As a text, for want of other values. */
std::string text_of(const rapidjson::Value &value)
{
    if (value.IsString())
        return value.GetString();
    if (value.IsInt())
        return std::to_string(value.GetInt());
    std::string text;
    if (value.IsArray()) {
        for (const auto &element : value.GetArray())
            text += (text.empty() ? "" : ",") + text_of(element);
    }
    return text;
}

} // namespace

std::string RedisServer::problem()
{
    return server_program().empty() ? "there is no redis-server (Debian: redis-tools)" : "";
}

RedisServer::RedisServer(std::string password) : password_(std::move(password))
{
    std::string name = (std::filesystem::temp_directory_path() / "kvnsim-server-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    folder_ = name;
    start();
}

RedisServer::~RedisServer()
{
    kill();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void RedisServer::kill()
{
    if (process_ < 0)
        return;
    ::kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
}

bool RedisServer::answers() const
{
    const Context context(redisConnect("127.0.0.1", port_), redisFree);
    if (!context || context->err != 0)
        return false;
    const std::unique_ptr<void, void (*)(void *)> reply(redisCommand(context.get(), "PING"),
                                                        freeReplyObject);
    return reply != nullptr;
}

void RedisServer::start()
{
    const std::string program = server_program();
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    const bool is_first = port_ == 0;
    while (std::chrono::steady_clock::now() < end) {
        if (is_first)
            port_ = free_port();
        const std::string port = std::to_string(port_), path = socket();
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int log = open((folder_ + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            dup2(log, 1);
            dup2(log, 2);
            execl(program.c_str(), "redis-server", "--port", port.c_str(), "--bind", "127.0.0.1",
                  "--unixsocket", path.c_str(), "--dir", folder_.c_str(), "--save", "",
                  "--appendonly", "no", password_.empty() ? nullptr : "--requirepass",
                  password_.c_str(), static_cast<char *>(nullptr));
            _exit(127);
        }
        /* Another program may have taken the port meanwhile: the server ends then. */
        while (waitpid(process_, nullptr, WNOHANG) == 0) {
            if (answers())
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            if (std::chrono::steady_clock::now() >= end)
                break;
        }
    }
    std::ifstream log(folder_ + "/log");
    throw std::runtime_error("the server does not start: " +
                             std::string(std::istreambuf_iterator<char>(log), {}));
}

std::string RedisServer::url() const
{
    return "redis://" + address() + "/4";
}

std::string RedisServer::command(const std::vector<std::string> &words) const
{
    return execute(connected(port_, password_).get(), words);
}

void RedisServer::load(const std::string &path) const
{
    std::ifstream file(path);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    rapidjson::Document document;
    if (document.Parse(text.c_str()).HasParseError())
        throw std::runtime_error("no JSON document: " + path);
    const Context context = connected(port_, password_);
    execute(context.get(), {"MULTI"});
    execute(context.get(), {"FLUSHDB"});
    for (const auto &table : document.GetObject()) {
        if (!table.value.IsObject())
            continue;
        for (const auto &row : table.value.GetObject()) {
            if (!row.value.IsObject())
                continue;
            std::vector<std::string> words{"HSET", std::string(table.name.GetString()) + "|" +
                                                       row.name.GetString()};
            for (const auto &field : row.value.GetObject()) {
                const bool is_list = field.value.IsArray();
                words.push_back(field.name.GetString() + std::string(is_list ? "@" : ""));
                words.push_back(text_of(field.value));
            }
            if (words.size() == 2)
                words.insert(words.end(), {"NULL", "NULL"});
            execute(context.get(), words);
        }
    }
    execute(context.get(), {"EXEC"});
}

} // namespace kvnsim::test
