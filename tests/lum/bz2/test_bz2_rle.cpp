// First-stage RLE: the coded form of every run length that matters, streaming through
// small pieces and small rooms in both directions, the in-use table, the decoder on any
// byte sequence, and argument and work-area errors.
#include <gtest/gtest.h>

#include "test_bz2_common.h"

namespace {

using namespace bz2test;

// bzip2's rule: runs of up to 255 equal bytes; one of 4 or more is 4 bytes and a count.
Bytes referenceEncode(const Bytes& s) {
    Bytes out;
    for (size_t i = 0; i < s.size();) {
        size_t len = 1;
        while (i + len < s.size() && s[i + len] == s[i] && len < 255) ++len;
        out.insert(out.end(), std::min<size_t>(len, 4), s[i]);
        if (len >= 4) out.push_back(static_cast<Lum8u>(len - 4));
        i += len;
    }
    return out;
}

// After four equal bytes the next byte counts extra copies and the count starts afresh.
Bytes referenceDecode(const Bytes& s) {
    Bytes out;
    int equal = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        if (equal == 4) {
            out.insert(out.end(), s[i], out.back());
            equal = 0;
            continue;
        }
        equal = (equal > 0 && s[i] == out.back()) ? equal + 1 : 1;
        out.push_back(s[i]);
    }
    return out;
}

struct Rle {
    Bytes state = workArea(lumsRLEGetSize_BZ2_8u);
    LumRLEState_BZ2* st() { return reinterpret_cast<LumRLEState_BZ2*>(state.data()); }
    Rle() { EXPECT_EQ(lumsEncodeRLEInit_BZ2_8u(st()), lumStsNoErr); }

    // Encodes s in pieces of `piece` bytes into rooms of `room` bytes, then flushes.
    Bytes encode(const Bytes& s, size_t piece, int room) {
        Bytes out, buf(static_cast<size_t>(room));
        for (size_t at = 0; at <= s.size(); at += piece) {
            const bool last = at + piece > s.size();
            Bytes chunk(s.begin() + static_cast<long>(at),
                        s.begin() + static_cast<long>(std::min(s.size(), at + piece)));
            Lum8u* p = ptr(chunk);
            int left = static_cast<int>(chunk.size());
            LumStatus sts;
            do {
                int got = room;
                sts = lumsEncodeRLE_BZ2_8u(&p, &left, ptr(buf), &got, st());
                EXPECT_TRUE(sts == lumStsNoErr || sts == lumStsDstFullWrn) << sts;
                EXPECT_TRUE(sts == lumStsNoErr ? left == 0 : got == room);
                out.insert(out.end(), buf.begin(), buf.begin() + got);
            } while (sts == lumStsDstFullWrn);
            if (last) break;
        }
        LumStatus sts;
        do {
            int got = room;
            sts = lumsEncodeRLEFlush_BZ2_8u(ptr(buf), &got, st());
            out.insert(out.end(), buf.begin(), buf.begin() + got);
        } while (sts == lumStsDstFullWrn);
        EXPECT_EQ(sts, lumStsNoErr);
        return out;
    }

    Bytes decode(const Bytes& s, size_t piece, int room) {
        Bytes out, buf(static_cast<size_t>(room));
        for (size_t at = 0; at < s.size(); at += piece) {
            Bytes chunk(s.begin() + static_cast<long>(at),
                        s.begin() + static_cast<long>(std::min(s.size(), at + piece)));
            Lum8u* p = chunk.data();
            int left = static_cast<int>(chunk.size());
            LumStatus sts;
            do {
                Lum8u* d = ptr(buf);
                int free = room;
                sts = lumsDecodeRLEState_BZ2_8u(&p, &left, &d, &free, st());
                EXPECT_TRUE(sts == lumStsNoErr || sts == lumStsDstFullWrn) << sts;
                EXPECT_EQ(d - ptr(buf), room - free);
                out.insert(out.end(), ptr(buf), d);
            } while (sts == lumStsDstFullWrn);
            EXPECT_EQ(left, 0);
        }
        return out;
    }
};

Bytes run(Lum8u v, size_t n) { return Bytes(n, v); }

Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

TEST(Bz2Rle, CodesEveryRunLength) {
    struct Case {
        Bytes in, out;
    } cases[] = {
        {{}, {}},
        {{7}, {7}},
        {run(7, 3), run(7, 3)},
        {run(7, 4), {7, 7, 7, 7, 0}},
        {run(7, 5), {7, 7, 7, 7, 1}},
        {run(7, 255), {7, 7, 7, 7, 251}},
        {run(7, 256), {7, 7, 7, 7, 251, 7}},
        {run(7, 259), {7, 7, 7, 7, 251, 7, 7, 7, 7, 0}},
        {run(7, 510), {7, 7, 7, 7, 251, 7, 7, 7, 7, 251}},
        {cat({run(1, 4), run(2, 6), {3}}), {1, 1, 1, 1, 0, 2, 2, 2, 2, 2, 3}},
    };
    for (const Case& c : cases) {
        Rle rle;
        EXPECT_EQ(rle.encode(c.in, 1 << 20, 4096), c.out) << c.in.size();
        EXPECT_EQ(rle.decode(c.out, 1 << 20, 4096), c.in);
    }
}

// Data with runs of every length around the limits, cut into pieces and written into
// small rooms: the pieces join to the one-call result, and decode back the same way.
TEST(Bz2Rle, StreamsThroughSmallPiecesAndRooms) {
    std::mt19937 gen(3);
    Bytes s;
    for (int k = 0; k < 400; ++k) {
        const size_t len = k % 3 == 0 ? 1 + gen() % 6 : (gen() % 2 ? 250 + gen() % 12 : 1 + gen() % 600);
        s.insert(s.end(), len, static_cast<Lum8u>(gen() % 4));
    }
    const Bytes coded = referenceEncode(s);
    const std::pair<size_t, int> shapes[] = {{1 << 20, 1 << 20}, {1, 1}, {7, 3}, {300, 5}, {4096, 2}};
    for (const auto& [piece, room] : shapes) {
        Rle rle;
        ASSERT_EQ(rle.encode(s, piece, room), coded) << piece << " " << room;
        Rle back;
        ASSERT_EQ(back.decode(coded, piece, room), s) << piece << " " << room;
    }
}

TEST(Bz2Rle, InUseTableHoldsTheValuesWritten) {
    Rle rle;
    const Bytes coded = rle.encode(cat({run(9, 4), run(200, 3), run(42, 20)}), 1 << 20, 4096);
    Lum8u inUse[256];
    ASSERT_EQ(lumsRLEGetInUseTable_8u(inUse, rle.st()), lumStsNoErr);
    for (int v = 0; v < 256; ++v)
        EXPECT_EQ(inUse[v], std::count(coded.begin(), coded.end(), v) ? 1 : 0) << v;  // counts 0 and 16 too
}

TEST(Bz2Rle, DecodesAnyByteSequence) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        const Bytes s = randomBytes(1 + seed * 7, seed, 1 + seed % 4);
        Rle rle;
        ASSERT_EQ(rle.decode(s, 1 + seed % 50, 1 + static_cast<int>(seed % 9)), referenceDecode(s));
    }
}

TEST(Bz2Rle, ArgumentAndWorkAreaErrors) {
    Rle rle;
    Bytes zeros(rle.state.size(), 0), src{1, 2}, dst(8);
    auto* bad = reinterpret_cast<LumRLEState_BZ2*>(zeros.data());
    Lum8u* p = src.data();
    Lum8u* d = dst.data();
    Lum8u* none = nullptr;
    int len = 2, room = 8, negative = -1;
    Lum8u inUse[256];
    struct Case {
        LumStatus got, want;
    } cases[] = {
        {lumsRLEGetSize_BZ2_8u(nullptr), lumStsNullPtrErr},
        {lumsEncodeRLEInit_BZ2_8u(nullptr), lumStsNullPtrErr},
        {lumsEncodeRLE_BZ2_8u(nullptr, &len, d, &room, rle.st()), lumStsNullPtrErr},
        {lumsEncodeRLE_BZ2_8u(&none, &len, d, &room, rle.st()), lumStsNullPtrErr},
        {lumsEncodeRLE_BZ2_8u(&p, &len, nullptr, &room, rle.st()), lumStsNullPtrErr},
        {lumsEncodeRLE_BZ2_8u(&p, &negative, d, &room, rle.st()), lumStsSizeErr},
        {lumsEncodeRLE_BZ2_8u(&p, &len, d, &negative, rle.st()), lumStsSizeErr},
        {lumsEncodeRLE_BZ2_8u(&p, &len, d, &room, bad), lumStsContextMatchErr},
        {lumsEncodeRLEFlush_BZ2_8u(d, &negative, rle.st()), lumStsSizeErr},
        {lumsEncodeRLEFlush_BZ2_8u(d, &room, bad), lumStsContextMatchErr},
        {lumsRLEGetInUseTable_8u(nullptr, rle.st()), lumStsNullPtrErr},
        {lumsRLEGetInUseTable_8u(inUse, bad), lumStsContextMatchErr},
        {lumsDecodeRLEState_BZ2_8u(&p, &len, &none, &room, rle.st()), lumStsNullPtrErr},
        {lumsDecodeRLEState_BZ2_8u(&p, &len, &d, &negative, rle.st()), lumStsSizeErr},
        {lumsDecodeRLEState_BZ2_8u(&p, &len, &d, &room, bad), lumStsContextMatchErr},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
    EXPECT_EQ(p, src.data());
    EXPECT_EQ(d, dst.data());
    EXPECT_EQ(len, 2);
    EXPECT_EQ(room, 8);
    EXPECT_EQ(dst, Bytes(8));
}

}  // namespace
