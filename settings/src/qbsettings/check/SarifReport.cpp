#include <qbsettings/check/SarifReport.hpp>

#include <algorithm>

#include <nlohmann/json.hpp>
#include <qbsettings/check/Finding.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;

namespace {

/// Names in results the folder in which the program runs.
constexpr char const* folderId = "HERE";

char const* levelName(bool isFault) { return isFault ? "error" : "warning"; }

/// The bytes of a path as a part of a URI.
std::string uriPath(std::string const& path) {
    static char const* const digits = "0123456789ABCDEF";
    static std::string const plain = "-._~/";
    std::string result;
    for (char const c : path) {
        auto const code = static_cast<unsigned char>(c);
        bool const isWord =
            (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (isWord || plain.find(c) != std::string::npos) {
            result += c;
        } else {
            result += {'%', digits[code / 16], digits[code % 16]};
        }
    }
    return result;
}

std::string folderHere() {
    std::string const folder = fs::absolute(fs::path(u"."), fs::path()).native();
    return folder.back() == '/' ? folder : folder + "/";
}

/// Relative to the folder where that holds the file, since code hosts know no other paths.
Json artifact(qf::ustring const& file) {
    std::string const path = fs::path(file).native();
    std::string const folder = folderHere();
    if (path.compare(0, folder.size(), folder) == 0 && path.size() > folder.size())
        return {{"uri", uriPath(path.substr(folder.size()))}, {"uriBaseId", folderId}};
    return {{"uri", "file://" + uriPath(path)}};
}

Json ruleList() {
    Json rules = Json::array();
    for (FindingKind const& kind : findingKinds()) {
        rules.push_back({{"id", kind.id},
                         {"shortDescription", {{"text", kind.what}}},
                         {"defaultConfiguration", {{"level", levelName(kind.isFault)}}}});
    }
    return rules;
}

}  // namespace

SarifReport::SarifReport() : results_(std::make_unique<Json>(Json::array())) {}

SarifReport::~SarifReport() = default;

void SarifReport::add(Finding const& finding, bool isFault) {
    Json result = {{"ruleId", finding.id},
                   {"ruleIndex", placeOfKind(finding.id)},
                   {"level", levelName(isFault)},
                   {"message", {{"text", finding.message}}}};
    Json location = Json::object();
    if (!finding.file.empty()) {
        Json& place = location["physicalLocation"];
        place["artifactLocation"] = artifact(finding.file);
        if (finding.line != 0) {
            place["region"] = {{"startLine", finding.line},
                               {"startColumn", std::max(finding.column, 1UL)}};
        }
    }
    if (!finding.key.empty()) {
        Json const name = {{"fullyQualifiedName", finding.key}, {"kind", "member"}};
        location["logicalLocations"] = Json::array({name});
    }
    if (!location.empty()) result["locations"] = Json::array({location});
    results_->push_back(result);
}

Json SarifReport::document() const {
    Json const driver = {{"name", "qbsettings"}, {"rules", ruleList()}};
    Json run = {{"tool", {{"driver", driver}}}};
    run["originalUriBaseIds"] = {{folderId, {{"uri", "file://" + uriPath(folderHere())}}}};
    run["columnKind"] = "unicodeCodePoints";
    run["results"] = *results_;
    return {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
            {"version", "2.1.0"},
            {"runs", Json::array({run})}};
}

}  // namespace qbsettings
