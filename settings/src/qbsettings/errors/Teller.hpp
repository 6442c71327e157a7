#pragma once

#include <exception>
#include <string>
#include <vector>

/// The table of the library's errors, in the order in which it is searched: a class stands in front
/// of its bases. Each part knows the texts of one kind of errors.
namespace qbsettings {

/// Finds the class of an error among those that it has a text for.
class Teller {
public:
    explicit Teller(std::exception const& error) : error_(error) {}

    template <class Error, class Text>
    Teller& when(Text const& text) {
        if (found_) return *this;
        if (auto const* const matching = dynamic_cast<Error const*>(&error_)) {
            result_ = text(*matching);
            found_ = true;
        }
        return *this;
    }
    bool found() const { return found_; }
    std::string const& result() const { return result_; }

private:
    std::exception const& error_;
    std::string result_;
    bool found_ = false;
};

/// Refused values, and the functions that judge or compute them. `given` are the texts of the value
/// that was to be set.
void tellValues(Teller& teller, std::vector<std::string> const& given);
/// Names, levels, and what does not fit together in the tree.
void tellTrees(Teller& teller);
/// Files and folders.
void tellFiles(Teller& teller);

}  // namespace qbsettings
