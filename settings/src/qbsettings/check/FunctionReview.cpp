#include <qbsettings/check/FunctionReview.hpp>

#include <qbsettings/check/NamePath.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Platform.hpp>

namespace qbsettings {

using settings::core::Markup;

namespace {

/// Calls `visit` with each element that names a function, and the name of its key or group.
template <class Visit>
void walkFunctions(Markup const& element, NamePath& path, Visit const& visit) {
    path.enter(element);
    for (Markup const& child : element.children) {
        if (child.tag == "validationfunc" || child.tag == "runtimedefault") visit(child, path);
        walkFunctions(child, path, visit);
    }
    path.leave(element);
}

/// Found as the library finds it.
std::string problemOf(std::string const& package, std::string const& function) {
    std::string const name = package.substr(package.rfind('/') + 1) + quLibrarySuffix();
    for (char const* const prefix : {"", "libqb", "lib"}) {
        int status = -1;
        void* const handle = quGetModule((prefix + name).c_str(), &status);
        if (status != 0) continue;
        return quFindSymbolInLibrary(handle, function.c_str())
                   ? std::string()
                   : "the library " + inQuotes(package) + " has no function " + inQuotes(function);
    }
    return "the library " + inQuotes(package) + " cannot be loaded: " + quLastLibraryError();
}

}  // namespace

std::string const& FunctionReview::lookedUp(Names const& names) {
    auto const [place, isNew] = known_.emplace(names, std::string());
    if (isNew) place->second = problemOf(names.first, names.second);
    return place->second;
}

std::vector<Finding> FunctionReview::run(qf::ustring const& file, Markup const& top) {
    std::vector<Finding> findings;
    NamePath start;
    walkFunctions(top, start, [&](Markup const& element, NamePath const& path) {
        std::string const type = element.attribute("type");
        // One of another type has no effect, and one on the product neither.
        bool const isTop = path.isTop();
        if (isTop || (type != "C" && type != "ZENBAR" && type != "JAVA")) return;
        Names const names{element.attribute("packagename"), element.attribute("functionname")};
        std::string problem;
        char const* id = "function-names";
        if (names.first.empty() || names.second.empty()) {
            problem = inQuotes(element.tag) + " has no '" +
                      (names.first.empty() ? "packagename" : "functionname") +
                      "', so that every call fails; name it";
        } else if (type == "C") {
            problem = lookedUp(names);
            id = "function-not-found";
        }
        if (problem.empty()) return;
        std::string const key = path.text();
        findings.push_back({{file, key + ": " + problem, element.line, element.column, key}, id});
    });
    return findings;
}

}  // namespace qbsettings
