// A machine of its own in a temporary directory, and the lines that were logged on it.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

class HaldMachine : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Writes a file of the machine, `path` as seen on it, and makes its directories.
    static void Put(const std::string& path, const std::string& text, mode_t mode = 0644);

    /// The bytes of a file of the machine; "(none)" when there is none.
    static std::string Text(const std::string& path);

    /// The names in a directory of the machine, sorted, separated by blanks.
    static std::string Names(const std::string& directory);

    /// Mode bits of a file of the machine.
    static mode_t Mode(const std::string& path);

    /// All lines logged by this process since the test began.
    static const std::vector<std::string>& Logged();
    static bool WasLogged(const std::string& part);

    const std::string& Root() const { return root_; }

private:
    std::string root_;
};

/// Forks a child that does `work` and exits with its result.
pid_t InChild(const std::function<int()>& work);

/// Waits for a child (-1: the next one); its exit status, -1 when a signal ended it.
int StatusOf(pid_t child);
