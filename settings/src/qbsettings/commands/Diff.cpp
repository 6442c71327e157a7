#include <algorithm>
#include <map>
#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/ComparedValues.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/text/Failure.hpp>

namespace qbsettings {

namespace {

using Entry = ComparedValues::Entry;

constexpr ExitStatus isSameThere = done;
constexpr ExitStatus differs = refused;
constexpr ExitStatus notCompared = wrongUsage;

bool isLevel(std::string const& word) {
    auto const& names = levelNames();
    return std::find(names.begin(), names.end(), word) != names.end();
}

/// `diff`: the keys whose values two sides have not in common.
class DiffCommand : public Command {
public:
    void declare(Options& options) override {
        options.side("A", a_, "Level, settings file or folder of user files; factory if absent");
        options.side("B", b_, "The same; user if absent");
        options.json();
    }

    int run(Context& context) override {
        try {
            return compare(context);
        } catch (Failure const& failure) {
            if (failure.status() != refused) throw;
            throw Failure(notCompared, failure.what());
        } catch (std::exception const& error) {
            throw Failure(notCompared, messageOf(error));
        }
    }

private:
    int compare(Context& context) const {
        ComparedValues a;
        ComparedValues b;
        bool const isLevelA = isLevel(a_);
        bool const isLevelB = isLevel(b_);
        if (!isLevelA) a = valuesOfFiles(a_);
        if (!isLevelB) b = valuesOfFiles(b_);
        if (isLevelA) a = valuesOfLevel(context, a_, isLevelB ? nullptr : &b);
        if (isLevelB) b = valuesOfLevel(context, b_, isLevelA ? nullptr : &a);
        context.output.beginTable();
        bool const isSame = compare(context.output, a, b);
        std::map<std::string, std::string> failed = a.failed;
        failed.insert(b.failed.begin(), b.failed.end());
        for (auto const& [name, problem] : failed)
            complain(name + ": " + problem);
        if (!failed.empty() || !context.tree.faults().empty()) return notCompared;
        return isSame ? isSameThere : differs;
    }

    /// True if nothing differs.
    static bool compare(Output& output, ComparedValues const& a, ComparedValues const& b) {
        bool isSame = true;
        auto const tell = [&](char const* change, std::string const& name, Entry const& before,
                              Entry const& after) {
            if (a.failed.count(name) + b.failed.count(name) != 0) return;
            isSame = false;
            output.row({{"change", change},
                        {"name", name},
                        {"before", Cell::value(before.value, before.type)},
                        {"after", Cell::value(after.value, after.type)}});
        };
        auto left = a.entries.begin();
        auto right = b.entries.begin();
        while (left != a.entries.end() || right != b.entries.end()) {
            bool const isLeft = right == b.entries.end() ||
                                (left != a.entries.end() && left->first <= right->first);
            bool const isRight = left == a.entries.end() ||
                                 (right != b.entries.end() && right->first <= left->first);
            if (isLeft && isRight) {
                if (!qbsettings::isSame(left->second.value, right->second.value)) {
                    tell("changed", left->first, left->second, right->second);
                }
            } else if (isLeft) {
                tell("removed", left->first, left->second, {});
            } else {
                tell("added", right->first, {}, right->second);
            }
            if (isLeft) ++left;
            if (isRight) ++right;
        }
        return isSame;
    }

    std::string a_ = "factory";
    std::string b_ = "user";
};

Registration<DiffCommand> const diffRegistration(
    {4, "diff", "Compare the values of levels, settings files and folders of user files",
     "diff factory user"});

}  // namespace

}  // namespace qbsettings
