#pragma once

#include <boost/any.hpp>
#include <boost/mpl/void.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>

namespace settings::core {

namespace detail {

/// One of the runtime defaults that this thread is computing, as long as it lives.
class RunningDefault {
public:
    explicit RunningDefault(void const* which);
    ~RunningDefault();
    RunningDefault(RunningDefault const&) = delete;
    RunningDefault& operator=(RunningDefault const&) = delete;

    static bool contains(void const* which);

private:
    void const* which_;
    RunningDefault const* outer_;
};

}  // namespace detail

/// Runs the runtime default that a variant holds and swaps its value into the result. With none the
/// result stays as it is. A default that comes to read its own value is refused: it would not end.
class RuntimeDefaultVisitor {
public:
    using result_type = void;

    explicit RuntimeDefaultVisitor(boost::any& result) : result_(result) {}
    void operator()(boost::mpl::void_ const&) const {}
    template <class R>
    void operator()(R const& runTimeDefault) const {
        if (detail::RunningDefault::contains(&runTimeDefault)) {
            throw exception::RunTimeFuncInvokingError(runTimeDefault.getFunctionName(),
                                                      runTimeDefault.getPackageName(),
                                                      u"The runtime default reads its own value.");
        }
        detail::RunningDefault const running(&runTimeDefault);
        boost::any value = runTimeDefault();
        result_.swap(value);
    }

private:
    boost::any& result_;
};

}  // namespace settings::core
