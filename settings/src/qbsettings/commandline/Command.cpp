#include <qbsettings/commandline/Command.hpp>

#include <algorithm>

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
    std::sort(infos.begin(), infos.end(),
              [](CommandInfo const& a, CommandInfo const& b) { return a.place < b.place; });
    return infos;
}

void addCommand(CommandInfo const& info) { registered().push_back(info); }

}  // namespace qbsettings
