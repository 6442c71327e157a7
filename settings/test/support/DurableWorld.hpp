#pragma once

#include <cerrno>
#include <csignal>
#include <functional>
#include <map>
#include <string>

#include <settingscore/persistence/DurableSaving.hpp>
#include <support/ProductWorld.hpp>
#include <support/WatchedCalls.hpp>

namespace qbtest {

using Files = std::map<std::string, std::string>;
using SaveError = exception::ErrorWriteToTempSettingsFile;
using Work = std::function<void()>;

/// The product "plot" under durable saves.
class DurableWorld : public ProductWorld {
protected:
    DurableWorld() {
        installPlot();
        // A file that grows beyond its limit is to be an error, not the end of the process.
        std::signal(SIGXFSZ, SIG_IGN);
        turnOnDurableSaving();
    }
    ~DurableWorld() override { turnOffDurableSaving(); }

    static void setWidth(int width) { product()->setAny("width", width, "user"); }
    /// The files as they are when the width is saved without this mode.
    Files filesByDefault(int width) {
        turnOffDurableSaving();
        setWidth(width);
        turnOnDurableSaving();
        return userFiles();
    }
    /// Loads the text as the user's file; what is no settings file is told.
    void loadUserText(std::string const& text) {
        userText("plot.settings", text);
        resetInstances();
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    }
    /// Sets the width from 6 to 7 where `failing` lets the save fail, and looks at what is left;
    /// the memory, which keeps the value, is set back.
    void expectFailure(int error, Files const& left, std::function<void(Work const&)> failing) {
        auto const look = [&](SaveError const& e) {
            EXPECT_EQ(e.getErrorNum(), error);
            EXPECT_EQ(e.getCausingFilePath(), toUString(userFilePath("plot")));
        };
        failing([&] { expectThrow<SaveError>([] { setWidth(7); }, look); });
        EXPECT_EQ(userFiles(), left);
        EXPECT_EQ(shownAt("plot.width"), "7");
        turnOffSettingsSaving();
        setWidth(6);
        turnOnSettingsSaving();
    }
    void expectFailureOf(std::string const& call, int error, Files const& left) {
        SCOPED_TRACE(call);
        expectFailure(error, left, [&](Work const& save) {
            Calls const calls(userDir(), call, error);
            save();
        });
    }
    /// The save is refused with the sentence, which begins with the name of the node at fault.
    void expectUnwritable(Work const& save, std::string const& sentence) {
        Files const before = userFiles();
        expectThrow<SaveError>(save, [&](SaveError const& e) {
            std::string const text = qf::i18n::to_string(e.getReasonStr());
            ustring const name = qf::i18n::to_ustring(e.getCausingObject()->getFullName());
            EXPECT_EQ(e.getReasonStr().rfind(name + u" ", 0), 0u) << text;
            EXPECT_NE(text.find(sentence + ", which would not read back"), std::string::npos)
                << text.substr(0, 200) << " is not " << sentence;
            EXPECT_EQ(e.getErrorNum(), EILSEQ);
        });
        EXPECT_EQ(userFiles(), before);
    }
};

}  // namespace qbtest
