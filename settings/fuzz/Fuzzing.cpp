#include "Fuzzing.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include <unistd.h>
#include <support/TempFolder.hpp>

namespace qbfuzz {

namespace {

/// Where files are cheap.
void preferMemory(qbtest::ScopedEnvironment& environment) {
    char const* const inMemory = "/dev/shm";
    if (::access(inMemory, W_OK | X_OK) == 0) environment.set("TMPDIR", inMemory);
}

}  // namespace

std::filesystem::path const& folder() {
    static qbtest::TempFolder const folder = [] {
        qbtest::ScopedEnvironment environment;
        preferMemory(environment);
        return qbtest::TempFolder();
    }();
    return folder.path();
}

std::vector<std::string> pieces(std::string const& input, std::size_t count) {
    std::vector<std::string> result;
    std::size_t from = 0;
    while (result.size() + 1 < count && input.find('\0', from) != std::string::npos) {
        std::size_t const end = input.find('\0', from);
        result.push_back(input.substr(from, end - from));
        from = end + 1;
    }
    result.push_back(input.substr(from));
    result.resize(count);
    return result;
}

void require(bool condition, std::string const& promise, std::string const& context) {
    if (condition) return;
    std::cerr << "\nfuzz: broken: " << promise << (context.empty() ? "" : "\n") << context
              << std::endl;
    std::abort();
}

}  // namespace qbfuzz

/// The stack of each allocation would cost more than the rest of a run.
extern "C" char const* __asan_default_options() { return "malloc_context_size=4"; }

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    for (auto const& [variable, place] : {std::pair("SETTINGS_FACTORYDIR", "toolbox"),
                                          {"SETTINGS_USERDIR", "user"},
                                          {"HOME", "."}}) {
        auto const path = qbfuzz::folder() / place;
        std::filesystem::create_directories(path);
        ::setenv(variable, path.c_str(), 1);
    }
    for (char const* variable : {"SETTINGS_WORKGROUPDIR", "ZENBAR_PREFDIR", "QBHOST_LIBRARY_PATH"})
        ::unsetenv(variable);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    qbfuzz::fuzz(std::string(reinterpret_cast<char const*>(data), size));
    return 0;
}
