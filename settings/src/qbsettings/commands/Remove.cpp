#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace {

/// `remove`: a node of the user's own.
class RemoveCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Full name");
        options.json();
        options.replaceBroken();
    }

    int run(Context& context) override {
        Writing::useLockWait();
        SettingsPtr const node = findNode(context.tree, name_);
        std::string const name = node->getFullName();
        auto const parent =
            boost::dynamic_pointer_cast<settings::core::ZSettings>(node->getParent());
        std::string const product = productOf(node);
        if (parent->isRoot()) context.writing.refuseToRemoveUnreadable(product);
        context.writing.begin(product);
        try {
            if (node->isLeafNode()) {
                parent->removeKey(node->getName());
            } else {
                context.tree.loading([&] { parent->removeNode(node->getName()); });
            }
        } catch (std::exception const& error) {
            throw Failure(name + ": " + reasonOf(error) + context.writing.afterword(product));
        }
        context.output.beginRecord();
        context.output.list("removed");
        context.output.noteMember("removed", name);
        return done;
    }

private:
    std::string name_;
};

Registration<RemoveCommand> const removeRegistration(
    {25, "remove", "Remove a key, a group or a product that has no factory values",
     "remove plotter.mine"});

}  // namespace

}  // namespace qbsettings
