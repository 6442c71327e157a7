#pragma once

#include <boost/any.hpp>
#include <boost/mpl/void.hpp>

namespace settings::core {

/// Runs the runtime default that a variant holds and swaps its value into the result. With none the
/// result stays as it is.
class RuntimeDefaultVisitor {
public:
    using result_type = void;

    explicit RuntimeDefaultVisitor(boost::any& result) : result_(result) {}
    void operator()(boost::mpl::void_ const&) const {}
    template <class R>
    void operator()(R const& runTimeDefault) const {
        boost::any value = runTimeDefault();
        result_.swap(value);
    }

private:
    boost::any& result_;
};

}  // namespace settings::core
