#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "Hand.hpp"

namespace qbprocesses {

namespace {

class CommandHand : public Hand {
public:
    explicit CommandHand(std::string program) : program_(std::move(program)) {}

    void set(std::string const& key, int value) override {
        run({"set", key, std::to_string(value)});
    }
    void unset(std::string const& key) override { run({"unset", key}); }
    void setTogether(std::vector<std::string> const& keys, int value) override {
        std::string const file = scratch("changes");
        {
            std::ofstream stream(file);
            for (std::string const& key : keys)
                stream << key << " = " << value << '\n';
        }
        run({"set-many", file});
    }
    void add(std::string const& node, int value) override {
        run({"add", node, "--type", "int32", std::to_string(value)});
    }
    std::string keyOf(std::string const& node) const override { return node; }
    void remove(std::string const& node) override { run({"remove", node}); }

private:
    static std::string scratch(std::string const& name) {
        return name + "." + std::to_string(::getpid());
    }

    void run(std::vector<std::string> words) const {
        std::string const messages = scratch("messages");
        words.insert(words.begin(), program_);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        ::posix_spawn_file_actions_t actions{};
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, messages.c_str(),
                                           O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::pid_t process = 0;
        int const error =
            ::posix_spawn(&process, program_.c_str(), &actions, nullptr, arguments.data(), environ);
        ::posix_spawn_file_actions_destroy(&actions);
        if (error != 0) throw std::runtime_error("cannot start " + program_);
        int status = 0;
        while (::waitpid(process, &status, 0) < 0) {
        }
        if (status == 0) return;
        std::ostringstream text;
        text << std::ifstream(messages).rdbuf();
        if (WIFEXITED(status)) throw Refusal(text.str());
        throw std::runtime_error("ended by a signal: " + text.str());
    }

    std::string const program_;
};

}  // namespace

std::unique_ptr<Hand> makeCommandHand(std::string const& program) {
    return std::make_unique<CommandHand>(program);
}

}  // namespace qbprocesses
