// The programs of the documents, built against the shared library as a customer builds them.

#include <array>
#include <cstdio>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "support/TempFolder.hpp"

namespace {

struct Outcome {
    int status;
    std::string output;
};

Outcome run(std::string const& command) {
    std::FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    std::string output;
    std::array<char, 4096> piece{};
    while (std::size_t const count = std::fread(piece.data(), 1, piece.size(), pipe)) {
        output.append(piece.data(), count);
    }
    int const status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

class Samples : public ::testing::Test {
protected:
    Samples() {
        environment_.set("SETTINGS_FACTORYDIR", QB_SOURCE_DIR "/settings/examples/toolbox");
        environment_.set("SETTINGS_USERDIR", (folder_.path() / "user").string());
        environment_.set("EXPORT_FILE", (folder_.path() / "export.settings").string());
    }

    qbtest::TempFolder folder_;
    qbtest::ScopedEnvironment environment_;
};

}  // namespace

TEST_F(Samples, RunAsTheDocumentsTell) {
    Outcome const first = run(QB_SAMPLE_DIR "/first_program");
    EXPECT_EQ(0, first.status);
    EXPECT_EQ(
        "width is 0.35\nwidth is 0.5\nrefused: The value passed in is not in the predefined "
        "range\n",
        first.output);
    EXPECT_TRUE(std::filesystem::exists(folder_.path() / "user" / "plotter.settings"));

    Outcome const second = run(QB_SAMPLE_DIR "/listeners_and_batches");
    EXPECT_EQ(0, second.status);
    EXPECT_EQ(
        "plotter.paper refused: The value passed in is not one of the predefined choices and/or it "
        "is not in the predefined range.\n"
        "changed: lineWidth\nchanged: paper\nexported: 1 group\n",
        second.output);
}

TEST_F(Samples, StandInTheReadme) {
    std::string const readme = qbtest::readFile(QB_SOURCE_DIR "/README.md");
    std::string const program = qbtest::readFile(QB_SOURCE_DIR "/docs/samples/first_program.cpp");
    EXPECT_NE(std::string::npos, readme.find("```cpp\n" + program + "```"));
}
