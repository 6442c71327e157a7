#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace qbprocesses {

/// What the keys of all products have, by full name: a number, or `noValue` for a key without a
/// value; a key that is not there is not in it.
using Values = std::map<std::string, std::string>;
inline std::string const noValue = "none";
inline std::string const noKey = "gone";

/// Where the processes of a round meet, and the names that they know.
///
/// The product "common" has the keys "c0" and so on that all set; the group "batch", whose keys are
/// only ever set together; the group "dynamic", to which nodes come and from which they go: "w3_0"
/// and so on of number 3 alone, "s0" and so on of all; and a group for each number, "w3", whose
/// keys that number alone sets. The product "p3" has the same keys for number 3.
class Place {
public:
    static constexpr int keys = 6;
    static constexpr int batch = 5;
    static constexpr int shared = 3;

    explicit Place(std::filesystem::path folder) : folder_(std::move(folder)) {}

    /// Writes the factory files for so many numbers.
    void make(int numbers) const;
    /// This process, and those that it starts, work here.
    void enter() const;

    std::filesystem::path const& folder() const { return folder_; }
    std::filesystem::path factory() const { return folder_ / "toolbox"; }
    std::filesystem::path user() const { return folder_ / "user"; }
    std::filesystem::path journal(int number) const { return file("journal", number); }
    /// What a process reads when all is over.
    std::filesystem::path state(int number) const { return file("state", number); }
    /// There when a process changes nothing any more.
    std::filesystem::path ready(int number) const { return file("ready", number); }
    /// There when the processes are to come to their end,
    std::filesystem::path stop() const { return folder_ / "stop"; }
    /// and when none changes anything any more.
    std::filesystem::path settled() const { return folder_ / "settled"; }

    /// The groups in which a number alone sets the keys.
    static std::vector<std::string> ownGroups(int number);
    static std::vector<std::string> batchKeys(std::string const& group);
    static std::string key(std::string const& group, char letter, int index);

private:
    std::filesystem::path file(char const* name, int number) const {
        return folder_ / (std::string(name) + "." + std::to_string(number));
    }
    std::filesystem::path const folder_;
};

}  // namespace qbprocesses
