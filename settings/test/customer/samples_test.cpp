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
    std::string const first =
        "width is 0.35\nwidth is 0.5\nrefused: The value passed in is not in the predefined "
        "range\n";
    EXPECT_EQ(told("first_program"), first);
    EXPECT_EQ(told("plain_interface"), first);
    EXPECT_EQ(
        told("typed_keys"),
        "factory: 0.35, no label\nchanged to 2\ndrawn: 2000\nplotter.lineWidth: the key is of "
        "type double and was used as one of type int32.\n");
    EXPECT_EQ(told("generated_keys"), "good\n");
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
    for (std::string const program :
         {"first_program", "plain_interface", "listeners_and_batches", "typed_keys"}) {
        std::string const output = (folder.path() / "output").string();
        int const status =
            std::system((QB_SAMPLE_DIR "/" + program + " >" + output + " 2>&1").c_str());
        EXPECT_EQ(WEXITSTATUS(status), 1) << program;
        std::string const told = qbtest::readFile(output);
        EXPECT_NE(told.find("there is no product plotter"), std::string::npos) << told;
        EXPECT_NE(told.find(folder.path().string()), std::string::npos) << told;
    }
}

TEST(Samples, StandInTheDocuments) {
    for (auto const& [document, sample] : {std::pair("README.md", "first_program"),
                                           {"docs/api.md", "plain_interface"},
                                           {"docs/api.md", "typed_keys"}}) {
        std::string const text = qbtest::readFile(QB_SOURCE_DIR "/" + std::string(document));
        std::string const program =
            qbtest::readFile(QB_SOURCE_DIR "/docs/samples/" + std::string(sample) + ".cpp");
        EXPECT_NE(text.find("```cpp\n" + program + "```"), std::string::npos) << sample;
    }
}

}  // namespace
