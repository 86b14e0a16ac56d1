#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <poll.h>
#include <pty.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/shell/shell.h"

using testing::HasSubstr;
using testing::Not;

/* The shell in front of a person: a terminal of its own, keys and what it shows. */
class Prompt : public Shell {
protected:
    ~Prompt() override
    {
        if (process_ > 0) {
            kill(process_, SIGKILL);
            wait_for(process_);
        }
        close(terminal_);
    }

    void begin(const std::vector<std::string> &arguments = {})
    {
        std::vector<char *> argv{const_cast<char *>(KVN_KVNSIM), const_cast<char *>("shell")};
        for (const std::string &argument : arguments)
            argv.push_back(const_cast<char *>(argument.c_str()));
        argv.push_back(nullptr);
        const std::string folder = path("");
        const std::string state = path("state");
        winsize size{};
        size.ws_col = 100;
        size.ws_row = 40;
        close(terminal_);
        unread_.clear();
        process_ = forkpty(&terminal_, nullptr, nullptr, &size);
        if (process_ == 0) {
            setenv("TERM", "xterm", 1);
            /* The line editor's library keeps a few bytes of its own to the end. */
            setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
            setenv("NO_COLOR", "1", 1);
            setenv("XDG_STATE_HOME", state.c_str(), 1);
            if (chdir(folder.c_str()) == 0)
                execv(KVN_KVNSIM, argv.data());
            _exit(127);
        }
        ASSERT_LT(0, process_);
    }

    /* Type keys; then read on until the text is shown. */
    void type(const std::string &keys)
    {
        ASSERT_EQ(static_cast<ssize_t>(keys.size()), ::write(terminal_, keys.data(), keys.size()));
    }
    /* What is shown from where the last such text ended. */
    std::string shown_until(const std::string &text)
    {
        while (unread_.find(text) == unread_.npos) {
            pollfd ready{terminal_, POLLIN, 0};
            char block[4096];
            const ssize_t got =
                poll(&ready, 1, 60000) > 0 ? ::read(terminal_, block, sizeof block) : 0;
            if (got <= 0)
                throw std::runtime_error("in vain for \"" + text + "\" in:\n" + unread_);
            unread_.append(block, static_cast<size_t>(got));
        }
        const std::string shown = unread_.substr(0, unread_.find(text) + text.size());
        unread_.erase(0, shown.size());
        return shown;
    }
    /* The answer to a line, up to the next prompt. */
    std::string answer(const std::string &line)
    {
        type(line + "\n");
        shown_until("\n");
        return shown_until(prompt);
    }
    /* Read to the end; the exit status. */
    int end()
    {
        char block[4096];
        while (::read(terminal_, block, sizeof block) > 0)
            ;
        const int status = wait_for(process_);
        process_ = -1;
        return status;
    }

    static constexpr const char *prompt = "kvnsim> ";
    static constexpr const char *ctrl_c = "\003", *ctrl_d = "\004", *tab = "\t", *up = "\020";

private:
    pid_t process_ = -1;
    int terminal_ = -1;
    std::string unread_;
};

TEST_F(Prompt, AnswersLinesAndLeavesOnCtrlD)
{
    begin();
    EXPECT_THAT(shown_until(prompt), HasSubstr("`help` lists the commands"));
    EXPECT_THAT(answer("show lids"), HasSubstr("LID"));
    EXPECT_THAT(answer("nosuch"), HasSubstr("there is no command \"nosuch\""));
    type(ctrl_d);
    EXPECT_EQ(well, end());
}

TEST_F(Prompt, CompletesWhatThereIs)
{
    const struct {
        const char *keys, *shown;
    } cases[] = {
        {"sho\tsum\t\n", "Summary"},                      /* commands, tables */
        {"dump PortChannel001\t\n", "=PortChannel0010)"}, /* interfaces of the switch */
        {"set Ethernet0 mt\t9000\n", "value=9000) = 0"},  /* properties */
        {"poke Ethernet0 SdkIntfAttrMt\t9000\n", prompt}, /* attributes */
        {"call get_li\tEthernet0\n", "lid_id_for_ifindex(ifindex=Ethernet0)"}, /* entry points */
        {"call set_l3_property Ethernet0 mt\t9100\n", "prop_type=12"},         /* their arguments */
        {"show summary --j\t\n", "\"summary\":"},        /* an option behind names */
        {"fail libsdk_lid_entry_d\t\n", prompt},         /* calls */
        {"fail libsdk_intf_create=SDK_E_F\t\n", prompt}, /* statuses */
        {"limit rma\t4\n", prompt},                      /* tables of the ASIC */
        {"check a\\ swi\t\n", "a switch.json: nothing"}, /* files, blanks and all */
        {"check fold\tempt\t\n", "folder/empty.json: "}, /* files in folders */
        {"check \"a s\t\n", "a switch.json: nothing"},   /* within quotes */
        {"timeline of\t\n", prompt},                     /* choices */
        {"fail-rate \t\n", prompt},                      /* what stands for a value */
        {"show ports --j\t\n", "\"ports\":"},            /* options */
        {"help virt\t\n", "virtual MAC"},
    };
    write("a switch.json", one_port);
    std::filesystem::create_directory(path("folder"));
    write("folder/empty.json", "{}");
    begin({example("leaf.json")});
    shown_until(prompt);
    for (const auto &each : cases) {
        type(each.keys);
        shown_until("\n");
        const std::string shown = shown_until(prompt);
        EXPECT_THAT(shown, HasSubstr(each.shown)) << each.keys;
        EXPECT_THAT(shown, Not(HasSubstr("expected"))) << each.keys;
        EXPECT_THAT(shown, Not(HasSubstr("there is no"))) << each.keys;
    }
    type(ctrl_d);
    EXPECT_EQ(fault_unused, end()) << "a command was completed that makes a call fail";
}

TEST_F(Prompt, ListsWhatMayFollow)
{
    begin();
    shown_until(prompt);
    type(std::string("call add_l3") + tab);
    const std::string listed = shown_until(prompt);
    for (const char *entry : {"add_l3port", "add_l3tun", "add_l3pc", "add_l3pc_member"})
        EXPECT_THAT(listed, HasSubstr(entry));
    shown_until("call add_l3");
    type(std::string("t") + tab + "null 1\n");
    EXPECT_THAT(shown_until(") = 0"), HasSubstr("l3lifpd_kvn_add_l3tun"));
}

TEST_F(Prompt, RemembersLinesFromOneTimeToTheNext)
{
    begin();
    shown_until(prompt);
    answer("show summary");
    type("quit\n");
    EXPECT_EQ(well, end());
    EXPECT_TRUE(exists("state/kvnsim/history"));
    EXPECT_EQ(0600U, static_cast<unsigned>(
                         std::filesystem::status(path("state/kvnsim/history")).permissions()));
    begin();
    shown_until(prompt);
    type(std::string(up) + up);
    shown_until("show summary");
    type("\n");
    EXPECT_THAT(shown_until("ports configured"), HasSubstr("Summary"));
}

TEST_F(Prompt, LeavesAHistoryThatIsNoneAlone)
{
    std::filesystem::create_directories(path("state/kvnsim"));
    const std::string history = path("state/kvnsim/history");
    write("state/kvnsim/history", "precious notes\n");
    begin();
    shown_until(prompt);
    answer("show summary");
    type("quit\n");
    EXPECT_EQ(well, end());
    EXPECT_EQ("precious notes\n", read("state/kvnsim/history"));

    /* Opening a pipe would wait for the other end. */
    std::filesystem::remove(history);
    ASSERT_EQ(0, mkfifo(history.c_str(), 0644));
    begin();
    shown_until(prompt);
    answer("show summary");
    type("quit\n");
    EXPECT_EQ(well, end());
    EXPECT_TRUE(std::filesystem::is_fifo(history));
    EXPECT_EQ(0644U, static_cast<unsigned>(std::filesystem::status(history).permissions()));
}

TEST_F(Prompt, ScriptLeavesNoHistory)
{
    shell({"show summary"});
    EXPECT_FALSE(exists("state"));
}

TEST_F(Prompt, CtrlCDropsTheLineThatIsTyped)
{
    begin();
    shown_until(prompt);
    for (int times = 0; times < 3; ++times) {
        type("nosuch");
        shown_until("nosuch");
        type(ctrl_c);
        EXPECT_THAT(shown_until(prompt), Not(HasSubstr("there is no command")));
    }
    EXPECT_THAT(answer("show lids"), HasSubstr("LID"));
    type(ctrl_d);
    EXPECT_EQ(well, end());
}

TEST_F(Prompt, CtrlCStopsWhatRunsAndNotTheShell)
{
    write("many.json", ports(250));
    begin();
    shown_until(prompt);
    answer("timeline on");
    for (const char *line : {"apply many.json\n", "reload many.json\n"}) {
        type(line);
        /* The terminal holds far less than what follows: the end is not reached unread. */
        shown_until("host: give port its LID");
        type(ctrl_c);
        EXPECT_THAT(shown_until(prompt), HasSubstr("interrupted"));
        answer("apply " + example("empty.json"));
    }
    EXPECT_THAT(answer("audit"), HasSubstr("The audit found nothing"));
    type(ctrl_d);
    EXPECT_EQ(well, end());
}
