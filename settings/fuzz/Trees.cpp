#include "Trees.hpp"

#include <sstream>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/variant/apply_visitor.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/writer/FileContent.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <support/TempFolder.hpp>

#include "Fuzzing.hpp"

namespace qbfuzz {

using namespace settings::core;

NodePtr parse(std::filesystem::path const& file, std::string const& text) {
    qbtest::writeFile(file, text);
    NodePtr top;
    reads([&] { top = SettingsFile::loadSettingsObject(qbtest::toUString(file)); });
    return top;
}

NodePtr load(std::filesystem::path const& file, std::string const& text) {
    NodePtr const parsed = parse(file, text);
    if (!parsed) return {};
    auto const empty = boost::make_shared<SettingsImpl>(parsed->getName(), false, boost::none);
    bool firstMergeDone = false;
    qf::ustring errors;
    NodePtr const product = SettingsImpl::mergeSettingsObject(
        empty, parsed, "user", &firstMergeDone, errors, qbtest::toUString(file));
    return errors.empty() ? product : NodePtr();
}

bool isSaved(NodePtr const& top, std::string& text) {
    boost::shared_lock<boost::shared_mutex> const lock(SettingsImpl::mutexToRoot());
    SaveSettingsFunctor const save(lock);
    if (findUnwritable(save, top, "user")) return false;
    std::ostringstream stream;
    save(top, stream, "user");
    text = stream.str();
    return true;
}

namespace {

struct FunctionText {
    using result_type = std::string;

    std::string operator()(boost::mpl::void_ const&) const { return {}; }
    template <class Function>
    std::string operator()(Function const& function) const {
        return function.getPackageName() + "," + function.getFunctionName();
    }
};

template <class Variant>
std::string functionText(Variant const& function) {
    return std::to_string(function.which()) + "," + boost::apply_visitor(FunctionText(), function);
}

/// All that a saved file tells of a node, as a line.
std::string described(SettingsImpl const& node) {
    std::ostringstream line;
    line << node.getFullName() << (node.isLeafNode() ? " key" : " group")
         << (node.isVisible() ? " visible" : "") << (node.isReadOnly() ? " read-only" : "");
    if (node.isOrphanRoot()) line << " version " << node.getVersionNumber().value_or(0);
    if (!node.isLeafNode()) return line.str();
    unsigned long const type = node.getDataTypeIndexInternal().value_or(0);
    line << " type " << type << " validator " << functionText(node.getValidatorToUse());
    boost::any const value = node.getAnyValueInternal("user", false);
    // Of a key of any type no more is written than its value.
    if (type == SettingsImpl::anyTypeIndex && value.empty()) return line.str();
    if (auto const sizes = node.getValueArraySizeValidator()) {
        line << " sizes " << sizes->minArrSize() << "-" << sizes->maxArrSize();
    }
    line << " default " << functionText(node.getRunTimeDefault());
    line << (value.empty() ? " no value" : " value");
    // One value and an array of it are the same: a first value keeps the shape that it comes in.
    for (std::string const& text : qbsettings::elementTexts(value))
        line << " " << qbsettings::typeOf(value).element << ":" << text;
    return line.str();
}

}  // namespace

void requireSame(NodePtr const& a, NodePtr const& b, std::string const& context) {
    std::string const first = described(*a);
    std::string const second = described(*b);
    auto const both = [&] { return first + "\n" + second + "\n" + context; };
    require(first == second, "a node is the same when it is read again", both());
    // Keys inside keys are read and never written.
    if (a->isLeafNode()) return;
    auto const childrenOfA = a->getChildrenImpl();
    auto const childrenOfB = b->getChildrenImpl();
    require(childrenOfA.size() == childrenOfB.size(), "a group has the same children", both());
    for (std::size_t i = 0; i < childrenOfA.size(); ++i)
        requireSame(childrenOfA[i], childrenOfB[i], context);
}

}  // namespace qbfuzz
