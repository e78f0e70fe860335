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
        const auto number = start(m_server, {"Xvfb", "-displayfd", "1", "-screen", "0",
                                             "800x600x24", "-nolisten", "tcp"});
        ::setenv("DISPLAY", (":" + number).c_str(), 1);
        m_isRunning =
            !number.empty() &&
            !start(m_windowManager, {"openbox", "--sm-disable", "--startup", "echo ready"}).empty();
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
    /// Starts a program that prints a line once it is ready, and waits for it. Empty when it ends
    /// without one.
    static std::string start(pid_t &process, std::vector<std::string> command)
    {
        std::array<int, 2> pipe{};
        if (::pipe(pipe.data()) != 0)
            return {};
        process = ::fork();
        if (process == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            ::dup2(pipe[1], STDOUT_FILENO);
            ::close(pipe[0]);
            ::close(pipe[1]);
            (void)!std::freopen("/dev/null", "w", stderr);
            std::vector<char *> arguments;
            for (auto &word : command)
                arguments.push_back(word.data());
            arguments.push_back(nullptr);
            ::execvp(arguments[0], arguments.data());
            ::_exit(127);
        }
        ::close(pipe[1]);
        std::string line;
        for (char letter = 0; ::read(pipe[0], &letter, 1) == 1 && letter != '\n';)
            line += letter;
        // Left open: writing to a closed pipe would end the program.
        return line;
    }

    pid_t m_server = -1;
    pid_t m_windowManager = -1;
    bool m_isRunning = false;
};
