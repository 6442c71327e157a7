#include <settingscore/rules/RunTimeDefault.hpp>

#include <boost/variant/apply_visitor.hpp>

namespace settings::core {

namespace {

class BelongingLevelVisitor {
public:
    using result_type = bool;

    explicit BelongingLevelVisitor(std::string const& level) : level_(level) {}
    bool operator()(boost::mpl::void_ const&) const { return false; }
    template <class R>
    bool operator()(R const& runTimeDefault) const {
        return runTimeDefault.getBelongingLevel() == level_;
    }

private:
    std::string const& level_;
};

class BelongingLevelSetter {
public:
    using result_type = void;

    explicit BelongingLevelSetter(std::string const& level) : level_(level) {}
    void operator()(boost::mpl::void_&) const {}
    template <class R>
    void operator()(R& runTimeDefault) const {
        runTimeDefault.setBelongingLevel(level_);
    }

private:
    std::string const& level_;
};

}  // namespace

bool isVoidRuntimeDefault(RunTimeDefault const& runTimeDefault) {
    return runTimeDefault.which() == 0;
}

bool detail::belongsToLevel(RunTimeDefault const& runTimeDefault, std::string const& level) {
    return boost::apply_visitor(BelongingLevelVisitor(level), runTimeDefault);
}

void detail::setBelongingLevel(RunTimeDefault& runTimeDefault, std::string const& level) {
    boost::apply_visitor(BelongingLevelSetter(level), runTimeDefault);
}

}  // namespace settings::core
