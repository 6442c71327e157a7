#pragma once

#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <support/SettingsXml.hpp>
#include <support/TempFolder.hpp>

namespace qbtest {

/// A temporary world for the program, with the folders `factory/`, `user/` and `home/`.
class ProgramWorld : public ::testing::Test {
protected:
    /// Writes a settings file of the product that the file is named after.
    void settingsFile(std::string const& file, std::string const& body,
                      std::string const& attributes = "visible=\"true\"") const {
        std::filesystem::path const path = folder_.path() / file;
        writeFile(path, settingsXml(path.stem().string(), body, "version=\"4\" " + attributes));
    }

    /// Runs a session of the shell in the test's folder and compares all that comes. A command
    /// begins with "$ " and goes on with "> "; behind it stand its output, its messages with "! "
    /// for the program's name, and a status other than 0 as "[1]". A tab stands as "→", the folder
    /// as "@".
    void expectSession(std::string const& session) const {
        EXPECT_EQ(transcript(session), session);
    }
    /// The session as it really goes.
    std::string transcript(std::string const& session) const {
        std::string actual;
        std::string command;
        std::istringstream lines(session);
        for (std::string line; std::getline(lines, line);) {
            bool const begins = line.rfind("$ ", 0) == 0;
            if (begins) actual += run(std::exchange(command, ""));
            if (!begins && line.rfind("> ", 0) != 0) continue;
            command += line.substr(2) + "\n";
            actual += line + "\n";
        }
        return actual + run(command);
    }
    /// Rows "WORDS => STATUS MESSAGE": each command ends so and prints nothing else.
    void expectRefused(std::string const& table) const {
        std::istringstream rows(table);
        for (std::string row; std::getline(rows, row);) {
            std::size_t const at = row.find("=> ");
            expectSession("$ qbsettings " + row.substr(0, at) + "\n! " + row.substr(at + 5) +
                          "\n[" + row[at + 3] + "]\n");
        }
    }

    /// What a command leaves, as in a session. `plain COMMAND` runs one that permissions bind, also
    /// where the tests run as root.
    std::string run(std::string const& command) const {
        if (command.empty()) return {};
        writeFile(folder_.path() / ".script",
                  "plain() { if ((EUID)); then \"$@\"; else "
                  "setpriv --bounding-set=-all --inh-caps=-all \"$@\"; fi; }\n" +
                      command);
        std::string const shell = "cd '" + folder_.path().string() +
                                  R"('
            unset SETTINGS_WORKGROUPDIR ZENBAR_PREFDIR DISABLE_PREFCOPY3RELEASES QBHOST_LOG
            unset LANG LC_ALL LC_MESSAGES
            export HOME=$PWD/home SETTINGS_FACTORYDIR=$PWD/factory SETTINGS_USERDIR=$PWD/user
            export QBHOST_ROOT=')" QB_SOURCE_DIR "' QBHOST_LIBRARY_PATH='" QB_TEST_PLUGIN_DIR
                                  ":" QB_BUILD_DIR
                                  "/settings/examples/lib'"
                                  R"(
            export PATH="$(dirname ')" QB_SETTINGS_PROGRAM R"('):$PATH"
            mkdir -p factory user home
            bash -o pipefail .script </dev/null >.out 2>.err || echo "[$?]" >>.err
            sed 's/^qbsettings: /! /' .err >>.out
            LC_ALL=C sed "s,$PWD,@,g;s,\t,→,g" .out >.transcript)";
        EXPECT_EQ(std::system(shell.c_str()), 0);
        return readFile(folder_.path() / ".transcript");
    }

private:
    TempFolder folder_;
};

/// The world with a product `p`, whose keys have every kind of rule.
class ProductWorld : public ProgramWorld {
protected:
    ProductWorld() {
        settingsFile(
            "factory/p/p.settings",
            R"(<key name="real" visible="true"><double><value>0.7</value><metadata><min>0.5</min><max>8</max></metadata></double></key>
<key name="byte"><int8><value>1</value><metadata><min>-20</min><choices>-100</choices></metadata></int8></key>
<key name="pair"><uint8 minArraySize="2" maxArraySize="2"><value>200</value><value>7</value></uint8></key>
<key name="text"><string><value>a&#9;b\c
d</value><metadata><max>12</max></metadata></string></key>
<key name="flag"><bool><value>0</value></bool></key>
<key name="list"><string maxArraySize="0"><value>x</value></string></key>
<key name="none"><int32 minArraySize="0" maxArraySize="0"></int32></key>
<key name="unset"><int64></int64></key>
<key name="open" anytype="true"><int16><value>-4</value></int16></key>
<key name="paper" readonly="true"><string><value>A4</value><metadata><choices>A4</choices><choices>A3</choices></metadata></string></key>
<key name="checked"><validationfunc type='C' packagename='checks' functionname='refuse'/><float><value>0.1</value></float></key>
<key name="computed"><double><runtimedefault type='C' packagename='defaults' functionname='giveDouble'/></double></key>
<key name="wrong"><int32><runtimedefault type='C' packagename='defaults' functionname='giveString'/></int32></key>
<settings name="locked" readonly="true"><key name="down"><bool><value>true</value></bool></key></settings>
)");
    }
};

}  // namespace qbtest
