#include "tests/cli/kvnsim.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

const char *const one_port = R"({
    "PORT": {"Ethernet0": {"mtu": "9100", "admin_status": "up"}},
    "INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.0/31": {}}
})";
const char *const one_port_1500 = R"({
    "PORT": {"Ethernet0": {"mtu": "1500", "admin_status": "up"}},
    "INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.0/31": {}}
})";

std::string ports(unsigned count)
{
    std::string port, interface;
    for (unsigned i = 0; i < count; ++i) {
        const std::string name = "\"Ethernet" + std::to_string(i) + "\": {}";
        port += (i == 0 ? "" : ", ") + name;
        interface += (i == 0 ? "" : ", ") + name;
    }
    return "{\"PORT\": {" + port + "}, \"INTERFACE\": {" + interface + "}}";
}

std::vector<std::string> lines(const std::string &text)
{
    std::vector<std::string> found;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        found.push_back(line);
    return found;
}

rapidjson::Document Result::json() const
{
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(out.data(), out.size());
    if (document.HasParseError())
        throw std::runtime_error("no JSON document: " + out + err);
    return document;
}

Kvnsim::Kvnsim()
{
    std::string name = testing::TempDir() + "kvnsim.XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    folder_ = name;
}

Kvnsim::~Kvnsim()
{
    std::filesystem::remove_all(folder_);
}

pid_t Kvnsim::start(const std::vector<std::string> &arguments, int in, int out, int err,
                    const std::vector<std::string> &environment)
{
    std::vector<char *> argv{const_cast<char *>(KVN_KVNSIM)};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    const pid_t process = fork();
    if (process != 0)
        return process;
    for (const char *variable : {"NO_COLOR", "COLUMNS", "KVNSIM_DB"})
        unsetenv(variable);
    setenv("TERM", "xterm", 1);
    for (const std::string &variable : environment)
        putenv(const_cast<char *>(variable.c_str()));
    std::signal(SIGPIPE, SIG_DFL);
    if (chdir(folder_.c_str()) == 0 && dup2(in, 0) == 0 && dup2(out, 1) == 1 && dup2(err, 2) == 2) {
        for (int other = 3; other < 64; ++other)
            close(other);
        execv(KVN_KVNSIM, argv.data());
    }
    _exit(127);
}

int Kvnsim::wait_for(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR)
            throw std::runtime_error("no such process");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

namespace {

/* A descriptor of a file, closed at the end. */
class Open {
public:
    Open(const std::string &path, int flags) : descriptor(open(path.c_str(), flags, 0644))
    {
        if (descriptor < 0)
            throw std::runtime_error("cannot open " + path);
    }
    ~Open() { close(descriptor); }
    Open(const Open &) = delete;
    Open &operator=(const Open &) = delete;
    const int descriptor;
};

} // namespace

Result Kvnsim::kvnsim(const std::vector<std::string> &arguments, const std::string &input,
                      const std::vector<std::string> &environment)
{
    Result result;
    write(".in", input);
    {
        const Open in(path(".in"), O_RDONLY);
        const Open out(path(".out"), O_WRONLY | O_CREAT | O_TRUNC);
        const Open err(path(".err"), O_WRONLY | O_CREAT | O_TRUNC);
        result.status =
            wait_for(start(arguments, in.descriptor, out.descriptor, err.descriptor, environment));
    }
    result.out = read(".out");
    result.err = read(".err");
    return result;
}

Result Kvnsim::kvnsim_into(const std::string &file, const std::vector<std::string> &arguments)
{
    Result result;
    {
        const Open in("/dev/null", O_RDONLY);
        const Open out(file, O_WRONLY);
        const Open err(path(".err"), O_WRONLY | O_CREAT | O_TRUNC);
        result.status = wait_for(start(arguments, in.descriptor, out.descriptor, err.descriptor));
    }
    result.err = read(".err");
    return result;
}

namespace {

/* All that is still to be read, to behind the text if one is given. */
void read_on(int descriptor, std::string &into, const std::string &text = {})
{
    char block[4096];
    for (ssize_t got; (text.empty() || into.find(text) == into.npos) &&
                      (got = ::read(descriptor, block, sizeof block)) > 0;)
        into.append(block, static_cast<size_t>(got));
}

} // namespace

Result Kvnsim::kvnsim_interrupted(const std::vector<std::string> &arguments,
                                  const std::string &text)
{
    int ours = -1, theirs = -1, out[2];
    if (openpty(&ours, &theirs, nullptr, nullptr, nullptr) != 0 || pipe(out) != 0)
        throw std::runtime_error("no terminal");
    const pid_t process = start(arguments, theirs, out[1], theirs);
    close(theirs);
    close(out[1]);
    Result result;
    read_on(ours, result.err, text);
    kill(process, SIGINT);
    read_on(ours, result.err);
    read_on(out[0], result.out);
    close(ours);
    close(out[0]);
    result.status = wait_for(process);
    return result;
}

Result Kvnsim::kvnsim_on_terminal(const std::vector<std::string> &arguments,
                                  const std::vector<std::string> &environment,
                                  unsigned short columns)
{
    int ours = -1, theirs = -1;
    winsize size{};
    size.ws_col = columns;
    if (openpty(&ours, &theirs, nullptr, nullptr, &size) != 0)
        throw std::runtime_error("no terminal");
    const pid_t process = start(arguments, theirs, theirs, theirs, environment);
    close(theirs);
    Result result;
    read_on(ours, result.out);
    close(ours);
    result.status = wait_for(process);
    return result;
}

std::string Kvnsim::write(const std::string &name, const std::string &text)
{
    std::ofstream(path(name), std::ios::binary) << text;
    return name;
}

std::string Kvnsim::read(const std::string &name) const
{
    std::ifstream in(path(name), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool Kvnsim::exists(const std::string &name) const
{
    return std::filesystem::exists(path(name));
}

std::vector<std::string> Kvnsim::files() const
{
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder_)) {
        const std::string name = entry.path().filename();
        if (name[0] != '.')
            names.push_back(name);
    }
    return names;
}
