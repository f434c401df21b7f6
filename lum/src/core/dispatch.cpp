// Registry of dispatch slots and the enabled feature mask; the public feature services.
#include "core/dispatch.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "core/cpu_features.h"

namespace lum {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<DispatchSlotBase*> slots;
    CpuInfo info;                     // the processor in force (the host or a simulated one)
    std::atomic<Lum64u> detected{0};  // what it offers (see limitDetectedFeatures)
    std::atomic<Lum64u> enabled{0};

    explicit Registry(const CpuInfo& cpu) : info(cpu), detected(cpu.features), enabled(cpu.features) {}

    // Caller holds the mutex.
    void apply(Lum64u mask) {
        enabled.store(mask, std::memory_order_release);
        for (DispatchSlotBase* slot : slots) slot->select(mask);
    }
};

// Never destroyed: slots of other libraries may detach during process exit in any order.
Registry& registry() {
    static Registry* instance = new Registry(cpuInfo());
    return *instance;
}

}  // namespace

void attachSlot(DispatchSlotBase* slot) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.slots.push_back(slot);
    slot->select(r.enabled.load(std::memory_order_relaxed));
}

void detachSlot(DispatchSlotBase* slot) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.slots.erase(std::remove(r.slots.begin(), r.slots.end(), slot), r.slots.end());
}

Lum64u enabledFeatures() { return registry().enabled.load(std::memory_order_acquire); }

void limitDetectedFeatures(Lum64u mask) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.detected.store(r.info.features & mask, std::memory_order_relaxed);
    r.apply(r.detected.load(std::memory_order_relaxed));
}

void simulateCpu(const CpuSources* sources) {
    const CpuInfo info = sources ? detectCpu(*sources) : cpuInfo();
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.info = info;
    r.detected.store(info.features, std::memory_order_relaxed);
    r.apply(info.features);
}

}  // namespace lum

extern "C" {

LumStatus lumInit(void) {
    lum::Registry& r = lum::registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.apply(r.detected.load(std::memory_order_relaxed));
    return lumStsNoErr;
}

LumStatus lumGetCpuFeatures(Lum64u* pMask, Lum32u* pCpuidRegs) {
    if (pMask == nullptr) return lumStsNullPtrErr;
    lum::Registry& r = lum::registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    *pMask = r.detected.load(std::memory_order_relaxed);
    if (pCpuidRegs != nullptr) {
        pCpuidRegs[0] = r.info.leaf1.eax;
        pCpuidRegs[1] = r.info.leaf1.ebx;
        pCpuidRegs[2] = r.info.leaf1.ecx;
        pCpuidRegs[3] = r.info.leaf1.edx;
    }
    return lumStsNoErr;
}

Lum64u lumGetEnabledCpuFeatures(void) { return lum::enabledFeatures(); }

LumStatus lumSetCpuFeatures(Lum64u mask) {
    if (mask == 0 || (mask & ~lumCpuFeatureAll) != 0) return lumStsBadArgErr;
    lum::Registry& r = lum::registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const Lum64u detected = r.detected.load(std::memory_order_relaxed);
    // SSE2 belongs to every x86-64 processor; the portable code is compiled for it.
    const Lum64u wanted = mask | (detected & lumCpuFeatureSSE2);
    if ((wanted & ~detected) != 0) return lumStsCpuNotSupportedErr;
    r.apply(wanted);
    return lumStsNoErr;
}

}  // extern "C"
