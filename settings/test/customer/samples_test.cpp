// The programs of the documents, built against the shared library as a customer builds them.

#include <cstdlib>

#include <gtest/gtest.h>

#include <support/TempFolder.hpp>

namespace {

TEST(Samples, RunAsTheDocumentsTell) {
    qbtest::TempFolder const folder;
    qbtest::ScopedEnvironment environment;
    environment.set("SETTINGS_FACTORYDIR", QB_SOURCE_DIR "/settings/examples/toolbox");
    environment.set("SETTINGS_USERDIR", (folder.path() / "user").string());
    auto const told = [&](std::string const& program) {
        std::string const output = (folder.path() / "output").string();
        std::string const command = "cd " + folder.path().string() + " && " QB_SAMPLE_DIR "/" +
                                    program + " >" + output + " 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return qbtest::readFile(output);
    };
    EXPECT_EQ(told("first_program"),
              "width is 0.35\nwidth is 0.5\nrefused: The value passed in is not in the predefined "
              "range\n");
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "user" / "plotter.settings"));
    EXPECT_EQ(told("listeners_and_batches"),
              "plotter.paper refused: The value passed in is not one of the predefined choices "
              "and/or it is not in the predefined range.\n"
              "changed: lineWidth\nchanged: paper\nexported: 1 group\n");
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "palettes.settings"));
}

/// As after an installation, when nothing says where the examples are.
TEST(Samples, SayWhatIsMissing) {
    qbtest::TempFolder const folder;
    qbtest::ScopedEnvironment environment;
    environment.set("SETTINGS_FACTORYDIR", folder.path().string());
    environment.set("SETTINGS_USERDIR", (folder.path() / "user").string());
    std::string const output = (folder.path() / "output").string();
    for (std::string const program : {"listeners_and_batches"}) {
        std::string const command = QB_SAMPLE_DIR "/" + program + " >" + output + " 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 256) << program;
        EXPECT_EQ(qbtest::readFile(output).rfind("there is no product 'plotter'", 0), 0U);
    }
}

TEST(Samples, StandInTheReadme) {
    std::string const readme = qbtest::readFile(QB_SOURCE_DIR "/README.md");
    std::string const program = qbtest::readFile(QB_SOURCE_DIR "/docs/samples/first_program.cpp");
    EXPECT_NE(readme.find("```cpp\n" + program + "```"), std::string::npos);
}

}  // namespace
