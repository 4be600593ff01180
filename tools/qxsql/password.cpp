#include "tools/qxsql/password.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <optional>

namespace qxsql {

namespace {

constexpr std::array<int, 5> signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

volatile std::sig_atomic_t caught = 0;

void OnSignal(int number) {
    caught = number;
}

// While it lives the signals above are only noted, and only within WaitForInput, so that none of them finds
// the terminal changed.
class SignalGuard {
  public:
    SignalGuard() {
        caught = 0;
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int number : signals)
            sigaddset(&blocked, number);
        pthread_sigmask(SIG_BLOCK, &blocked, &maskBefore);
        struct sigaction action = {};
        action.sa_handler = OnSignal;
        for (std::size_t i = 0; i < signals.size(); ++i)
            sigaction(signals[i], &action, &before[i]);
    }
    ~SignalGuard() {
        for (std::size_t i = 0; i < signals.size(); ++i)
            sigaction(signals[i], &before[i], nullptr);
        pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
    }
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

    // False when a signal has come.
    bool WaitForInput(int file) {
        while (caught == 0) {
            pollfd wanted{file, POLLIN, 0};
            if (ppoll(&wanted, 1, nullptr, &maskBefore) > 0)
                return true;
        }
        return false;
    }

  private:
    sigset_t maskBefore{};
    std::array<struct sigaction, signals.size()> before{};
};

// The terminal of the process, which shows nothing of what is typed while it lives.
class SilentTerminal {
  public:
    explicit SilentTerminal(int terminal) : file(terminal) {
        tcgetattr(file, &before);
        termios silent = before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK);
        silent.c_lflag |= ICANON | ECHONL;
        tcsetattr(file, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() { tcsetattr(file, TCSAFLUSH, &before); }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

  private:
    const int file;
    termios before{};
};

void Write(int file, const std::string& text) {
    static_cast<void>(!write(file, text.data(), text.size()));
}

// One line without its end; empty optional: a signal came (`caught`), or there is nothing more.
std::optional<std::string> ReadLine(int file, SignalGuard& guard) {
    std::string line;
    for (;;) {
        char c = 0;
        if (!guard.WaitForInput(file))
            return std::nullopt;
        const ssize_t count = read(file, &c, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return std::nullopt;
        if (c == '\n' || c == '\r')
            return line;
        line += c;
    }
}

std::string Ask(int file, const std::string& prompt) {
    for (;;) {
        int number = 0;
        {
            SignalGuard guard;
            const SilentTerminal silent(file);
            Write(file, prompt);
            if (std::optional<std::string> line = ReadLine(file, guard))
                return *line;
            number = caught;
            Write(file, "\n");
        }
        if (number == 0)
            throw PromptInterrupted("No password was given");
        if (number == SIGINT)
            throw PromptInterrupted("Interrupted");
        // Ends the process, or stops it until it is told to go on.
        raise(number);
    }
}

}  // namespace

std::string FindPassword(const std::string& user) {
    if (const char* const given = std::getenv("QXSQL_PASSWORD"))
        return given;
    // Without one the data source has its own, or the server asks for none.
    if (user.empty())
        return "";
    const int file = open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (file < 0)
        return "";
    try {
        const std::string password = Ask(file, "Password of " + user + ": ");
        close(file);
        return password;
    } catch (...) {
        close(file);
        throw;
    }
}

}  // namespace qxsql
