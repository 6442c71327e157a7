#include <settingscore/persistence/shared/SharedSaves.hpp>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/DurableSteps.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/persistence/shared/Agreements.hpp>
#include <settingscore/persistence/shared/FileLock.hpp>
#include <settingscore/persistence/shared/FileMerge.hpp>
#include <settingscore/persistence/shared/LeftOvers.hpp>
#include <settingscore/persistence/shared/Present.hpp>
#include <settingscore/persistence/shared/Rendering.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/MergeEngine.hpp>

namespace settings::core {

namespace fs = qf::filesystem;
namespace msg = ZENBAR::settings::core;

namespace {

std::atomic<bool> areSharedSavesOn{false};
std::atomic<std::chrono::milliseconds::rep> waitLimit{0};

[[noreturn]] void fail(SettingsFile::Save const& save, int errorNumber, std::string const& reason) {
    throw exception::ErrorWriteToTempSettingsFile(save.product, save.file.str(), errorNumber,
                                                  qf::i18n::to_ustring(reason));
}

/// One save, from the lock to the new agreement.
class SharedSave {
public:
    SharedSave(SettingsFile::Save const& save, SaveSettingsFunctor const& functor)
        : save_(save),
          functor_(functor),
          lock_(functor.lock()),
          mine_(lock_, *save.product, *save.level),
          known_(Agreements::find(save.product)) {}

    void run() {
        FileStamp const now = stamp();
        bool const isCurrent = known_ && known_->stamp == now;
        std::string const text = isCurrent ? std::string() : mergedWith(now);
        bool const isMerged = !isCurrent && text != mine_.text;
        write(isMerged ? text : mine_.text, isMerged);
    }

private:
    FileStamp stamp() const {
        try {
            return FileStamp::of(save_.file);
        } catch (fs::FsysExceptionBase const& error) {
            fail(save_, error.errorNumber(), error.reason());
        }
    }

    /// What the file is to hold when others have written to it.
    std::string mergedWith(FileStamp const& now) const {
        boost::shared_ptr<SettingsImpl> file = now.exists ? read() : nullptr;
        if (now.exists && !file) return mine_.text;  // A defective file, which is kept aside.
        if (!file) file = save_.product->cloneSelf();
        FileImage const nothing;
        // Without a change since the load memory has nothing that the file would lack.
        FileImage const& base = !known_ ? nothing : known_->image ? *known_->image : mine_.image;
        FileMerge(lock_, mine_.image, base).into(*file, *save_.product);
        return Rendering(lock_, *file, *save_.level).text;
    }

    /// Null if the file is defective.
    boost::shared_ptr<SettingsImpl> read() const {
        try {
            boost::shared_ptr<SettingsImpl> parsed = SettingsFile::loadSettingsObject(save_.file);
            if (!parsed) return nullptr;
            auto const empty =
                boost::make_shared<SettingsImpl>(save_.product->getName(), false, boost::none);
            detail::MergeEngine::takeFirstFile(*empty, *parsed, *save_.level);
            return parsed;
        } catch (std::exception const& error) {
            auto const passing = UnreadFiles::passing(error, save_.file);
            if (passing) {
                fail(save_, passing->errorNumber,
                     "it was changed by another process and cannot be read at this time: " +
                         qf::i18n::to_string(passing->reason));
            }
            UnreadFiles::setUnread(save_.root, save_.file, std::nullopt);
            return nullptr;
        }
    }

    void write(std::string const& text, bool isMerged) const {
        fs::path aside;
        // A durable save does so by itself.
        if (!isDurableSavingOn() && UnreadFiles::isDefective(save_.file) &&
            fs::exists(save_.file)) {
            aside = keepAside(save_.file);
        }
        FileStamp written;
        SaveSettingsFunctor const functor(functor_.lock(), text);
        try {
            auto const put = [&](fs::path const& temporary, SettingsFile::RenameFunc rename) {
                place(temporary, rename, text.size(), written);
            };
            if (!SettingsFile::replaceFile(save_, functor, put)) return drop(aside);
        } catch (...) {
            if (!FileStamp::of(save_.file).isSameFileAs(written)) drop(aside);
            throw;
        }
        FileStamp const now = stamp();
        // What is not ours any more was replaced by somebody without the lock.
        std::optional<FileStamp> agreed;
        if (!isMerged && now.isSameFileAs(written)) agreed = now;
        Agreement const next{agreed, std::make_shared<FileImage>(mine_.image), 0, {}, {}};
        while (!Agreements::replace(save_.product, versionNow(), next)) {
        }
    }

    /// No part of the text takes the place of a file in which others have their own, and no failure
    /// takes that out of the way.
    void place(fs::path const& temporary, SettingsFile::RenameFunc rename, std::size_t size,
               FileStamp& written) const {
        try {
            written = FileStamp::of(temporary);
            if (written.size < static_cast<std::int64_t>(size))
                fail(save_, EIO, "the temporary file could not be written whole");
            rename(temporary, save_.file);
        } catch (fs::FsysExceptionBase const& error) {
            fail(save_, error.errorNumber(), error.reason());
        }
    }

    unsigned long versionNow() const {
        auto const known = Agreements::find(save_.product);
        return known ? known->version : 0;
    }

    static void drop(fs::path const& aside) {
        if (aside.empty()) return;
        try {
            fs::remove(aside);
        } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
        }
    }

    SettingsFile::Save const& save_;
    SaveSettingsFunctor const& functor_;
    detail::HeldLock lock_;
    Rendering const mine_;
    std::optional<Agreement> const known_;
};

/// While it lives, what a person or a shutdown sends to end the process waits on this thread, so
/// that it does not fall between the making of a temporary folder and its removal.
class EndingHeld {
public:
    EndingHeld() {
        ::sigset_t ending;
        ::sigemptyset(&ending);
        for (int const signal : {SIGHUP, SIGINT, SIGTERM})
            ::sigaddset(&ending, signal);
        ::pthread_sigmask(SIG_BLOCK, &ending, &before_);
    }
    ~EndingHeld() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    EndingHeld(EndingHeld const&) = delete;
    EndingHeld& operator=(EndingHeld const&) = delete;

private:
    ::sigset_t before_{};
};

/// The directory that is to hold the lock file.
void makeDirectory(fs::path const& folder) {
    try {
        if (!fs::exists(folder)) fs::create_directories(folder);
    } catch (fs::FileExistsError const&) {  // NOLINT(bugprone-empty-catch)
        // Somebody was faster; if it is no directory, the lock file says so.
    } catch (fs::AccessDenied const& denied) {
        msg::throwMessage<msg::NoWritePermissionOnDirectory>(folder.str(), denied.reason().c_str());
    }
}

/// Of locks that cannot be had the error of a save that fails; work that throws is its own affair.
template <class Work>
void underLock(boost::shared_ptr<SettingsImpl const> const& product, fs::path const& folder,
               fs::path const& file, Work const& work) {
    try {
        FileLock const lock(folder, SharedSaves::longestWait());
        EndingHeld const held;
        work();
    } catch (FileLockFailure const& failure) {
        if (failure.errorNumber() == EACCES || failure.errorNumber() == EROFS) {
            msg::throwMessage<msg::NoWritePermissionOnDirectory>(
                folder.str(), std::string(failure.what()).c_str());
        }
        throw exception::ErrorWriteToTempSettingsFile(product, file.str(), failure.errorNumber(),
                                                      qf::i18n::to_ustring(failure.what()));
    }
}

}  // namespace

void SharedSaves::save(SettingsFile::Save const& save, SaveSettingsFunctor const& functor) {
    makeDirectory(save.folder);
    underLock(save.product, save.folder, save.file, [&] {
        LeftOvers::removeDead(save.folder);
        SharedSave(save, functor).run();
    });
}

void SharedSaves::remove(fs::path const& file) {
    fs::path const folder = file.parent_path();
    if (fs::exists(folder)) underLock({}, folder, file, [&] { fs::remove(file); });
}

bool SharedSaves::areOn() { return areSharedSavesOn.load(std::memory_order_relaxed); }

std::chrono::milliseconds SharedSaves::longestWait() {
    return std::chrono::milliseconds(waitLimit.load());
}

void SharedSaves::turnOn(std::chrono::milliseconds longestWait) {
    waitLimit = longestWait.count();
    if (areSharedSavesOn.exchange(true)) return;
    SettingsFile::setSaveFunc(&SharedSaves::save);
    detail::LoadAndSave::setSharing({&Present::bringUpToDate});
}

void SharedSaves::turnOff() {
    if (!areSharedSavesOn.exchange(false)) return;
    detail::LoadAndSave::setSharing({});
    SettingsFile::setSaveFunc(nullptr);
    Agreements::forgetAll();
}

}  // namespace settings::core
