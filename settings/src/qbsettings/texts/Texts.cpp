#include <qbsettings/texts/Texts.hpp>

#include <sstream>

namespace qbsettings::texts {

bool Texts::empty() const {
    return summary.empty() && description.empty() && unit.empty() && labels.empty() &&
           since.empty() && deprecated.empty();
}

void fill(Texts& texts, Texts const& other) {
    for (auto const member :
         {&Texts::summary, &Texts::description, &Texts::unit, &Texts::since, &Texts::deprecated}) {
        if ((texts.*member).empty()) texts.*member = other.*member;
    }
    texts.labels.insert(other.labels.begin(), other.labels.end());
}

std::vector<std::string> linesOf(std::string const& description) {
    std::vector<std::string> lines;
    std::istringstream text(description);
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace qbsettings::texts
