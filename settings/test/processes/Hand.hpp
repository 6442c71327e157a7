#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace qbprocesses {

/// Others have changed what the operation needs: no fault.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The way in which a worker changes settings. All throw what keeps them from it, a `Refusal` if
/// that lies in the tree as it is.
class Hand {
public:
    virtual ~Hand() = default;
    virtual void set(std::string const& key, int value) = 0;
    virtual void unset(std::string const& key) = 0;
    virtual void setTogether(std::vector<std::string> const& keys, int value) = 0;
    /// Adds a node that has one value; `keyOf` tells where.
    virtual void add(std::string const& node, int value) = 0;
    virtual std::string keyOf(std::string const& node) const = 0;
    virtual void remove(std::string const& node) = 0;
    /// Takes in what others did.
    virtual void refresh() {}
};

/// By the library, in the instance of this process; `ownKey` also gets values on "session".
std::unique_ptr<Hand> makeLibraryHand(std::string const& ownKey);
/// By the program, a process for each operation.
std::unique_ptr<Hand> makeCommandHand(std::string const& program);

}  // namespace qbprocesses
