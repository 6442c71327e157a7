#include <qbsettings/output/Complaints.hpp>

#include <iostream>

#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

namespace {

/// The line of the host's console that has not ended yet.
std::string& pendingLine() {
    static std::string line;
    return line;
}

void print(std::string const& message) {
    eraseProgress();
    // One write, so that lines of two programs on one terminal stay whole.
    std::cerr << "qbsettings: " + asLine(message) + "\n" << std::flush;
}

}  // namespace

void complain(std::string const& message) {
    finishComplaints();
    print(message);
}

void complainInPieces(std::string const& text) {
    std::string& line = pendingLine();
    for (char const c : text) {
        if (c == '\n') {
            finishComplaints();
        } else {
            line += c;
        }
    }
}

void finishComplaints() {
    std::string line;
    line.swap(pendingLine());
    if (!line.empty()) print(line);
}

}  // namespace qbsettings
