// A machine of its own in a temporary directory, for the tests of the service library's stores.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"

class Machine : public ::testing::Test {
protected:
    void SetUp() override
    {
        // In memory: waiting for a disk tests nothing.
        std::string name = "/dev/shm/mailvane-XXXXXX";
        ASSERT_NE(nullptr, ::mkdtemp(name.data()));
        root = name;
        host::SetRoot(root);
        ASSERT_TRUE(host::MakeDirectories(host::PackagePath("etc"), 0755));
        ASSERT_TRUE(host::MakeDirectories(host::PackagePath("target/etc"), 0755));
    }

    void TearDown() override
    {
        host::SetRoot("");
        std::filesystem::remove_all(root);
    }

    /// A name, free for this machine alone, that lies on the disk.
    std::string OtherFileSystem() const
    {
        return std::filesystem::temp_directory_path() / std::filesystem::path(root).filename();
    }

    static void Write(const std::string& path, const std::string& text)
    {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }

    static std::string Contents(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string root;
};
