#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <boost/variant.hpp>
#include <settingscore/host/HostApi.hpp>
#include <settingscore/host/UString.hpp>

namespace rescat {

/// Identifies a text of the message catalogue: a domain, a key, and the arguments that fill the
/// text's placeholders.
class QBHOST_API BaseMsgID {
public:
    /// An argument is narrow text in UTF-8, or 16-bit text.
    using Argument = boost::variant<std::string, qf::ustring>;

    /// Has so many arguments, all empty.
    BaseMsgID(std::size_t argumentCount, std::string domain, std::string key)
        : arguments_(argumentCount), domain_(std::move(domain)), key_(std::move(key)) {}
    virtual ~BaseMsgID() = default;
    BaseMsgID(BaseMsgID const&) = default;
    BaseMsgID& operator=(BaseMsgID const&) = default;

    /// @{
    /// The parts of the identifier.
    std::string const& domain() const { return domain_; }
    std::string const& key() const { return key_; }
    std::vector<Argument> const& arguments() const { return arguments_; }
    /// @}
    /// @throws std::out_of_range unless there is an argument of that index
    void setArgument(std::size_t index, Argument value) { arguments_.at(index) = std::move(value); }

private:
    std::vector<Argument> arguments_;
    std::string domain_;
    std::string key_;
};

}  // namespace rescat
