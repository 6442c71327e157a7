#pragma once

#include <functional>
#include <set>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

namespace qbtest {

/// The parser's memory, which ends after a number of allocations. Never destroyed: blocks of the
/// parser refer to it.
class ParserMemory : public xercesc::MemoryManager {
public:
    /// Does the work with that many allocations; true if they were enough.
    static bool suffices(long allocations, std::function<void()> const& work) {
        auto*& manager = xercesc::XMLPlatformUtils::fgMemoryManager;
        static auto& memory = *new ParserMemory(*manager);
        memory.left_ = allocations;
        manager = &memory;
        work();
        manager = &memory.real_;
        return memory.left_ >= 0;
    }
    xercesc::MemoryManager* getExceptionMemoryManager() override { return &real_; }
    void* allocate(XMLSize_t size) override {
        if (left_ < 0 || --left_ < 0) throw xercesc::OutOfMemoryException();
        return *blocks_.insert(real_.allocate(size)).first;
    }
    void deallocate(void* block) override {
        blocks_.erase(block);
        real_.deallocate(block);
    }

private:
    explicit ParserMemory(xercesc::MemoryManager& real) : real_(real) {}
    xercesc::MemoryManager& real_;
    std::set<void*> blocks_;  // The parser loses some when it ends like that.
    long left_ = 0;
};

}  // namespace qbtest
