#pragma once

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// An X server with a window manager for one test program, which names it in DISPLAY before the
/// application object is made. Both end with it, however the program ends.
class PrivateDisplay final
{
public:
    PrivateDisplay()
    {
        std::array<int, 2> pipe{};
        if (::pipe(pipe.data()) != 0)
            return;
        m_server = start({"Xvfb", "-displayfd", std::to_string(pipe[1]), "-screen", "0", "800x600x24",
                          "-nolisten", "tcp"});
        ::close(pipe[1]);
        // The server writes its number when it is ready, and nothing when it cannot start.
        std::string number;
        for (char digit = 0; ::read(pipe[0], &digit, 1) == 1 && digit != '\n';)
            number += digit;
        ::close(pipe[0]);
        if (number.empty())
            return;
        ::setenv("DISPLAY", (":" + number).c_str(), 1);
        m_windowManager = start({"openbox", "--sm-disable"});
        m_isRunning = true;
    }

    ~PrivateDisplay()
    {
        for (const pid_t process : {m_windowManager, m_server}) {
            if (process > 0) {
                ::kill(process, SIGTERM);
                ::waitpid(process, nullptr, 0);
            }
        }
    }

    PrivateDisplay(const PrivateDisplay &) = delete;
    PrivateDisplay &operator=(const PrivateDisplay &) = delete;

    [[nodiscard]] bool isRunning() const { return m_isRunning; }

private:
    static pid_t start(std::vector<std::string> command)
    {
        const pid_t process = ::fork();
        if (process != 0)
            return process;
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        (void)::freopen("/dev/null", "w", stderr);
        std::vector<char *> arguments;
        for (auto &word : command)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        ::execvp(arguments[0], arguments.data());
        ::_exit(127);
    }

    pid_t m_server = -1;
    pid_t m_windowManager = -1;
    bool m_isRunning = false;
};
