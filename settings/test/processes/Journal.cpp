#include "Journal.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace qbprocesses {

Journal::Journal(std::filesystem::path const& file)
    : descriptor_(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {
    if (descriptor_ < 0) throw std::runtime_error("no journal " + file.string());
}

Journal::~Journal() { ::close(descriptor_); }

void Journal::write(std::string const& line) const {
    if (::write(descriptor_, line.data(), line.size()) != static_cast<::ssize_t>(line.size()))
        throw std::runtime_error("the journal cannot be written");
}

void Journal::begins(Values const& assigned) {
    std::string line = "begin";
    for (auto const& [name, value] : assigned)
        line.append(" ").append(name).append(" ").append(value);
    write(line + "\n");
}

void Journal::ended(Deed::End end, std::string const& reason) {
    std::string line = end == Deed::End::done      ? "done"
                       : end == Deed::End::refused ? "refused "
                                                   : "failed ";
    line += reason;
    std::replace(line.begin(), line.end(), '\n', ' ');
    write(line + "\n");
}

std::vector<Deed> Journal::read(std::filesystem::path const& file) {
    std::vector<Deed> deeds;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first == "begin") {
            Deed deed;
            for (std::string name, value; words >> name >> value;)
                deed.assigned[name] = value;
            deeds.push_back(deed);
            continue;
        }
        if (deeds.empty()) throw std::runtime_error("a journal without a beginning: " + line);
        deeds.back().end = first == "done"      ? Deed::End::done
                           : first == "refused" ? Deed::End::refused
                                                : Deed::End::failed;
        std::getline(words, deeds.back().reason);
    }
    return deeds;
}

void writeValues(std::filesystem::path const& file, Values const& values) {
    // Whole or not at all: somebody waits for it.
    std::filesystem::path const temporary = file.string() + ".new";
    std::ofstream stream(temporary);
    for (auto const& [name, value] : values)
        stream << name << ' ' << value << '\n';
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + file.string());
    std::filesystem::rename(temporary, file);
}

Values readValues(std::filesystem::path const& file) {
    Values values;
    std::ifstream stream(file);
    for (std::string name, value; stream >> name >> value;)
        values[name] = value;
    return values;
}

}  // namespace qbprocesses
