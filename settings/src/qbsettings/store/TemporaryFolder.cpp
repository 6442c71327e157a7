#include <qbsettings/store/TemporaryFolder.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <qbsettings/text/Failure.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;

TemporaryFolder::TemporaryFolder() {
    char const* const place = ::secure_getenv("TMPDIR");
    std::string name = std::string(place && *place ? place : "/tmp") + "/qbsettings-XXXXXX";
    if (!::mkdtemp(name.data())) {
        throw Failure(name + " cannot be created: " + std::strerror(errno));
    }
    path_ = fs::absolute(fs::from_native(name), fs::path());
}

TemporaryFolder::~TemporaryFolder() {
    try {
        fs::remove_all(path_);
    } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
    }
}

}  // namespace qbsettings
