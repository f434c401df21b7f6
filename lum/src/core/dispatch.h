// Run-time choice of code paths.
//
// A function family lists its implementations in a CodePath array, fastest first, each
// with the feature bits it needs; the last entry is the portable one and needs nothing.
// A DispatchSlot owns the choice for one family: it registers with liblumcore when it is
// constructed (on the family's first use), is told the enabled feature mask then and after every
// lumInit / lumSetCpuFeatures, and keeps the first path whose features are all enabled.
// Calls through the slot cost one relaxed atomic load.
#ifndef LUM_CORE_DISPATCH_H
#define LUM_CORE_DISPATCH_H

#include <atomic>
#include <cstddef>

#include "core/cpu_features.h"
#include "core/export.h"
#include "lumcore.h"

namespace lum {

template <class Fn>
struct CodePath {
    const char* name;
    Lum64u required;  // lumCpuFeature... bits the path executes
    Fn fn;
};

class DispatchSlotBase {
public:
    virtual void select(Lum64u enabled) = 0;

protected:
    ~DispatchSlotBase() = default;
};

// Adds a slot to the registry and selects its path for the enabled features.
LUM_INTERNAL void attachSlot(DispatchSlotBase* slot);
LUM_INTERNAL void detachSlot(DispatchSlotBase* slot);

// The feature mask in force (same as lumGetEnabledCpuFeatures).
LUM_INTERNAL Lum64u enabledFeatures();

// For tests of the selection logic: the library behaves as if the processor had only
// the detected features that are also in mask (lumCpuFeatureAll: the real processor) and
// re-selects every path as lumInit does.
LUM_INTERNAL void limitDetectedFeatures(Lum64u mask);

// For tests of the detection: the library behaves as if it ran on the processor the
// sources describe (nullptr: the host), as lumGetCpuFeatures reports it, and re-selects
// every path. Any limit set by limitDetectedFeatures is dropped. The sources are read
// during the call only.
LUM_INTERNAL void simulateCpu(const CpuSources* sources);

template <class Fn>
class DispatchSlot final : public DispatchSlotBase {
public:
    template <std::size_t N>
    explicit DispatchSlot(const CodePath<Fn> (&paths)[N]) : paths_(paths), count_(N) {
        static_assert(N > 0, "a family needs at least its portable path");
        current_.store(&paths[N - 1], std::memory_order_relaxed);
        fn_.store(paths[N - 1].fn, std::memory_order_relaxed);
        attachSlot(this);
    }
    ~DispatchSlot() { detachSlot(this); }
    DispatchSlot(const DispatchSlot&) = delete;
    DispatchSlot& operator=(const DispatchSlot&) = delete;

    Fn fn() const { return fn_.load(std::memory_order_relaxed); }
    const CodePath<Fn>& current() const { return *current_.load(std::memory_order_acquire); }

    const CodePath<Fn>* begin() const { return paths_; }
    const CodePath<Fn>* end() const { return paths_ + count_; }

    void select(Lum64u enabled) override {
        for (const CodePath<Fn>& path : *this) {
            if ((path.required & ~enabled) == 0) {
                current_.store(&path, std::memory_order_release);
                fn_.store(path.fn, std::memory_order_relaxed);
                return;
            }
        }
    }

private:
    const CodePath<Fn>* paths_;
    std::size_t count_;
    std::atomic<const CodePath<Fn>*> current_{nullptr};
    std::atomic<Fn> fn_{nullptr};
};

}  // namespace lum

#endif
