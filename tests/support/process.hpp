// tests/support/process.hpp - commands and children: what a test needs to look at a library from outside, or to
// try something that ends the process.
#pragma once

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vrn::test {

// Hands each line of a command's standard output to `visit`, without its newline, and returns the exit status.
template <class Visit>
int each_line_of(const std::string& command, Visit&& visit)
{
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
    char* line = nullptr;
    std::size_t room = 0;
    for (ssize_t length; (length = getline(&line, &room, pipe)) > 0;) {
        if (line[length - 1] == '\n') line[--length] = '\0';
        visit(std::string_view(line, static_cast<std::size_t>(length)));
    }
    std::free(line);
    const int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline std::vector<std::string> lines_of(const std::string& command)
{
    std::vector<std::string> lines;
    if (each_line_of(command, [&](std::string_view line) { lines.emplace_back(line); }) != 0)
        throw std::runtime_error(command + " failed");
    return lines;
}

// How a child ended and what it printed.
struct ending {
    int status = 0;
    std::string out, err;
    bool exited(int code) const { return WIFEXITED(status) && WEXITSTATUS(status) == code; }
    bool killed_by(int signal) const { return WIFSIGNALED(status) && WTERMSIG(status) == signal; }
};

// Runs `work` in a forked child that exits with the number it returns. Output has to fit a pipe (64 KiB).
// A child that hangs is ended by SIGALRM.
template <class Work>
ending in_child(Work&& work, unsigned seconds = 60)
{
    int out[2], err[2];
    if (pipe(out) != 0 || pipe(err) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no fork");
    if (child == 0) {
        const rlimit no_core{0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        alarm(seconds);
        dup2(out[1], 1);
        dup2(err[1], 2);
        const int code = work();
        std::fflush(nullptr);
        _exit(code);
    }
    close(out[1]);
    close(err[1]);
    ending e;
    const auto drain = [](int from, std::string& to) {
        char piece[4096];
        for (ssize_t n; (n = read(from, piece, sizeof piece)) > 0;) to.append(piece, static_cast<std::size_t>(n));
        close(from);
    };
    drain(out[0], e.out);
    drain(err[0], e.err);
    waitpid(child, &e.status, 0);
    return e;
}

// Runs a program in a fresh process, with some environment variables set (or, with a null value, removed).
inline ending run_program(const std::vector<std::string>& command,
                          const std::vector<std::pair<const char*, const char*>>& environment = {})
{
    return in_child([&] {
        for (const auto& [name, value] : environment)
            if (value != nullptr)
                setenv(name, value, 1);
            else
                unsetenv(name);
        std::vector<char*> words;
        for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        execv(words[0], words.data());
        return 126;
    });
}

} // namespace vrn::test
