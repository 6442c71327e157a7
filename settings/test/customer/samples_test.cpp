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
    environment.set("EXPORT_FILE", (folder.path() / "export.settings").string());
    auto const told = [&](std::string const& program) {
        std::string const output = (folder.path() / "output").string();
        EXPECT_EQ(std::system((QB_SAMPLE_DIR "/" + program + " >" + output + " 2>&1").c_str()), 0);
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
}

TEST(Samples, StandInTheReadme) {
    std::string const readme = qbtest::readFile(QB_SOURCE_DIR "/README.md");
    std::string const program = qbtest::readFile(QB_SOURCE_DIR "/docs/samples/first_program.cpp");
    EXPECT_NE(readme.find("```cpp\n" + program + "```"), std::string::npos);
}

}  // namespace
