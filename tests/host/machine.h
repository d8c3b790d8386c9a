// A machine of its own in a temporary directory, and the lines that were logged on it.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"

class Machine : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Paths are those that the machine has, or the real ones of its files.

    /// Writes a file and makes its directories.
    static void Write(const std::string& path, const std::string& text, mode_t mode = 0644);

    /// The bytes of a file; "(none)" when there is none.
    static std::string Contents(const std::string& path);

    /// The names in a directory, sorted, separated by blanks.
    static std::string Names(const std::string& directory);

    /// Mode bits of a file.
    static mode_t Mode(const std::string& path);

    /// A name, free for this machine alone, that lies on the disk.
    std::string OtherFileSystem() const;

    /// All lines logged by this process since the test began.
    static const std::vector<std::string>& Logged();
    static bool WasLogged(const std::string& part);

    std::string root;
};

/// Forks a child that does `work` and exits with its result.
pid_t InChild(const std::function<int()>& work);

/// Waits for a child (-1: the next one); its exit status, minus the signal that ended it.
int StatusOf(pid_t child);
