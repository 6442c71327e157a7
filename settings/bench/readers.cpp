// Readers beside a writer that never rests.

#include <atomic>
#include <thread>

#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

/// Changes a key until the end of the scope.
class Writer {
public:
    explicit Writer(Node const& group) : thread_([this, group] { write(*group); }) {}
    ~Writer() {
        stop_ = true;
        thread_.join();
    }
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

private:
    void write(Settings& group) const {
        for (double value = 0; !stop_; ++value)
            group.setAny("k5", value, "session");
    }

    std::atomic<bool> stop_{false};
    std::thread thread_;
};

void readBesideWriter(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(1000);
    static std::unique_ptr<Writer> writer;
    if (state.thread_index() == 0) writer = std::make_unique<Writer>(loaded.group);
    for (auto _ : state)
        benchmark::DoNotOptimize(loaded.group->getAny("k1", ""));
    if (state.thread_index() == 0) writer.reset();
}

}  // namespace

void addReaders(Table& table) {
    benchmark::RegisterBenchmark("readBesideWriter", readBesideWriter)
        ->ThreadRange(1, 8)
        ->UseRealTime();
    for (char const* const count : {"2", "4", "8"}) {
        table.add({std::string("time until the next read, ") + count +
                       " readers together beside one writer",
                   "one reader", std::string("readBesideWriter/threads:") + count,
                   "readBesideWriter", std::nullopt});
    }
}

}  // namespace qbbench
