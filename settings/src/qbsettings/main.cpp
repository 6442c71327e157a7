// The program: settings read and changed from the command line.

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <qbsettings/commandline/CommandLine.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/text/Failure.hpp>

namespace qbsettings {

namespace {

int run(std::vector<std::string> const& words) {
    CommandLine const line = parseCommandLine(words);
    if (!line.command) {
        std::cout << line.text;
        return done;
    }
    Context context(line.directories, line.flags);
    int const status = line.command->run(context);
    context.output.finish();
    return status;
}

int runToTheEnd(std::vector<std::string> const& words) {
    int status = refused;
    try {
        status = run(words);
    } catch (Failure const& failure) {
        complain(failure.what());
        status = failure.status();
    } catch (std::exception const& error) {
        complain(messageOf(error));
    } catch (...) {
        // A function of a plug-in can throw anything.
        complain("an unknown error occurred");
    }
    finishComplaints();
    std::cout.flush();
    if (!std::cout) {
        complain("cannot write to standard output");
        return refused;
    }
    return status;
}

}  // namespace

}  // namespace qbsettings

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    return qbsettings::runToTheEnd(std::vector<std::string>(argv + 1, argv + argc));
}
