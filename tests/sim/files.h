#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace kvnsim {

/* Empty when there is no such file. */
inline std::string content_of(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/* A file name for a test's own use, removed at its end. */
class ScratchFile {
public:
    explicit ScratchFile(const std::string &name)
        : path(testing::TempDir() + "kvnsim_" +
               testing::UnitTest::GetInstance()->current_test_info()->name() + "_" + name)
    {
        std::remove(path.c_str());
    }
    ~ScratchFile() { std::remove(path.c_str()); }
    ScratchFile(const ScratchFile &) = delete;
    ScratchFile &operator=(const ScratchFile &) = delete;
    const std::string path;
};

} // namespace kvnsim
