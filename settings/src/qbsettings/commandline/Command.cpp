#include <qbsettings/commandline/Command.hpp>

#include <algorithm>
#include <string_view>
#include <utility>

namespace qbsettings {

namespace {

/// Made by the first that registers.
std::vector<CommandInfo>& registered() {
    static std::vector<CommandInfo> infos;
    return infos;
}

}  // namespace

std::vector<CommandInfo> commands() {
    std::vector<CommandInfo> infos = registered();
    std::sort(infos.begin(), infos.end(), [](CommandInfo const& a, CommandInfo const& b) {
        return std::pair(a.place, std::string_view(a.name)) <
               std::pair(b.place, std::string_view(b.name));
    });
    return infos;
}

void addCommand(CommandInfo const& info) { registered().push_back(info); }

}  // namespace qbsettings
