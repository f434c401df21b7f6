// The aligned allocator: placement of the handed-out pointer, the records, and the
// vector placement settings.
#include "memory.h"

#include "helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

uintptr_t addr(void* p) { return reinterpret_cast<uintptr_t>(p); }

// Returns every block on record to the system, then forgets the records.
void freeEverything() {
    while (void* p = psMallocFirst(nullptr, nullptr)) psFree(p);
    psFreeAll();
}

class MemoryTest : public ::testing::Test {
protected:
    void SetUp() override { freeEverything(); }
    void TearDown() override {
        freeEverything();
        psSetAlignMax(PS_ALIGN_DEF);
        psSetVectorAlign(0);
    }
};

}  // namespace

TEST_F(MemoryTest, PointerPlacementFollowsAlignAndShift) {
    // offset: expected offset of the pointer from a 64-byte boundary
    struct Case { int align, shift; unsigned offset; };
    // a = 0 rounds base + shift up to the next multiple of 64; 0 < a < 64 with a
    // shift that is a multiple of 64 lands a bytes past base + shift.
    const Case cases[] = {{0, 0, 0}, {0, 1, 0}, {0, 512, 0}, {6, 0, 6}, {6, 512, 6}, {70, 0, 6}, {32, 128, 32}};
    for (const Case& c : cases) {
        void* p = psMalloc(100, c.align, c.shift, nullptr);
        ASSERT_NE(nullptr, p);
        EXPECT_EQ(c.offset, addr(p) % 64) << c.align << "/" << c.shift;
        std::memset(p, 0xA5, 100);  // the whole requested size is usable
        psFree(p);
    }
}

TEST_F(MemoryTest, RecordsKeepOrderSizeAndOwnerAndForgetFreedBlocks) {
    int tag = 0;
    void* a = psMalloc(10, 0, 0, &tag);
    void* b = psMalloc(20, 0, 512, nullptr);
    void* c = psMalloc(30, 0, 1, nullptr);
    EXPECT_EQ(3, psMallocCount());
    int size = 0;
    void* owner = nullptr;
    EXPECT_EQ(a, psMallocFirst(&size, &owner));
    EXPECT_EQ(10, size);
    EXPECT_EQ(&tag, owner);
    EXPECT_EQ(b, psMallocNext(&size, &owner));
    EXPECT_EQ(20, size);
    EXPECT_EQ(nullptr, owner);
    EXPECT_EQ(c, psMallocNext(&size, &owner));
    EXPECT_EQ(nullptr, psMallocNext(&size, &owner));
    psFree(a);
    EXPECT_EQ(0, psMallocInfo(a, nullptr, nullptr));
    long long ownerValue = 1;
    ASSERT_EQ(1, psMallocInfo(c, &size, &ownerValue));
    EXPECT_EQ(30, size);
    EXPECT_EQ(0, ownerValue);
    EXPECT_EQ(b, psMallocFirst(&size, &owner));
}

TEST_F(MemoryTest, UnknownPointersAndEmptyListsAreQuiet) {
    Capture out;
    g_ostrm.setOutLevel(ERR | WARN);
    EXPECT_EQ(nullptr, psMallocFirst(nullptr, nullptr));
    char local[16];
    psFree(local);  // no records at all
    void* p = nullptr;
    {
#if defined(__SANITIZE_ADDRESS__)
        __lsan::ScopedDisabler forgottenOnPurpose;  // the block is forgotten below, never returned
#endif
        p = psMalloc(8, 0, 0, nullptr);
    }
    psFree(local);  // not handed out
    psFree(nullptr);
    EXPECT_EQ(1, psMallocCount());
    EXPECT_EQ(0, psFreeAll());
    psFree(p);  // forgotten: nothing happens
    EXPECT_EQ(0, psMallocCount());
    EXPECT_EQ("", out.text());
}

TEST_F(MemoryTest, ExhaustionAndTheMemoryLevelAreReported) {
    Capture out;
    g_ostrm.setOutLevel(ERR);
    // A size that no request can satisfy (the system may overcommit any positive one).
    EXPECT_EQ(nullptr, psMalloc(-100000, 0, 0, nullptr));
    EXPECT_EQ("-- Memory error: can't allocate -100000 bytes\n", out.text());
    EXPECT_EQ(0, psMallocCount());

    Capture trace;
    g_ostrm.setOutLevel(ERR | MEMORY);
    void* p = psMalloc(48, 0, 0, nullptr);
    psFree(p);
    const std::string text = trace.text();
    EXPECT_EQ(0u, text.find(" - psMalloc: size:48  address:"));
    EXPECT_NE(std::string::npos, text.find("\n - psFree: size:48  address:"));
    psString ptr;
    ptr << static_cast<const void*>(p);
    EXPECT_NE(std::string::npos, text.find(std::string("  alignedPointer:") + ptr.c_str() + "\n"));
}

TEST_F(MemoryTest, LargerAlignmentUnitAndVectorAlignModuloTheUnit) {
    psSetAlignMax(256);
    void* p = psMalloc(10, 0, 1, nullptr);
    EXPECT_EQ(0u, addr(p) % 256);
    psSetAlignMax(PS_ALIGN_DEF);
    psSetVectorAlign(70);
    EXPECT_EQ(6, psGetVectorAlign());
}
