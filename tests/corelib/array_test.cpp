#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "alloc_counter.h"
#include "corelib/framework/ByteArray.h"
#include "corelib/framework/StringArray.h"
#include "corelib/framework/UIntArray.h"

namespace {

TEST(Array, BadIndexThrowsOnEveryPath) {
    CStringArray a;
    a.Add(CString(u"x"));
    const CStringArray& ca = a;
    const std::function<void()> calls[] = {
        [&] { a.GetAt(1); },        [&] { a.GetAt(-1); },        [&] { ca.GetAt(5); },
        [&] { a.ElementAt(1); },    [&] { a[1]; },              [&] { ca[-1]; },
        [&] { a.SetAt(1, CString()); }, [&] { a.RemoveAt(1); }, [&] { a.RemoveAt(0, 2); },
        [&] { a.SetAtGrow(-1, CString()); }, [&] { a.InsertAt(-1, CString()); }, [&] { a.SetSize(-1); },
    };
    for (std::size_t i = 0; i < std::size(calls); ++i) EXPECT_THROW(calls[i](), CInvalidArgException) << "call " << i;
    EXPECT_EQ(a.GetSize(), 1);
    EXPECT_EQ(a[0], u"x");
}

TEST(Array, GrowInsertRemove) {
    CUIntArray a;
    // Each element in order, "|" and the size.
    const auto text = [](const CUIntArray& array) {
        std::string out;
        for (intptr_t i = 0; i < array.GetSize(); ++i) out += std::to_string(array[i]) + " ";
        return out + "|" + std::to_string(array.GetSize());
    };
    EXPECT_TRUE(a.IsEmpty() && a.GetData() == nullptr && a.GetUpperBound() == -1);
    EXPECT_EQ(a.Add(10), 0);
    a.SetAtGrow(3, 40);  // grows, the gap is zero
    a.InsertAt(1, 20, 2);
    EXPECT_EQ(text(a), "10 20 20 0 0 40 |6");
    a.RemoveAt(1, 2);
    a.InsertAt(6, 70);  // past the end: the array grows to hold it
    EXPECT_EQ(text(a), "10 0 0 40 0 0 70 |7");

    CUIntArray other;
    other.Add(1);
    other.Add(2);
    a.InsertAt(0, &other);
    EXPECT_EQ(a.Append(a), 9);  // appending an array to itself doubles it
    other.Copy(a);
    a.RemoveAll();
    EXPECT_EQ(text(a) + " " + text(other), "|0 1 2 10 0 0 40 0 0 70 1 2 10 0 0 40 0 0 70 |18");
}

TEST(Array, AddingAnElementOfItselfIsSafe) {
    CStringArray a;
    a.Add(CString(u"first"));
    for (int i = 0; i < 100; ++i) a.Add(a[0]);  // the argument lives in the array while it grows
    a.InsertAt(0, a[50], 3);
    a.SetAtGrow(200, a[0]);
    EXPECT_EQ(a[200], u"first");
    EXPECT_EQ(a[1], u"first");
}

// An empty array has no body: nothing is allocated until an element or a hint is set,
// every access still checks its index, and copies each get their own elements.
TEST(Array, EmptyAllocatesNothingAndCopiesStayIndependent) {
    const std::size_t before = bench::AllocationCount();
    {
        CStringArray a, b(a), c;
        c = a;
        a.SetSize(0);
        a.Append(b);
        a.InsertAt(0, &b);
        a.InsertAt(0, CString(), 0);
        a.RemoveAt(0, 0);
        b.Copy(a);
        a.FreeExtra();
        a.RemoveAll();
    }
    EXPECT_EQ(bench::AllocationCount(), before);

    CUIntArray a;
    const CUIntArray& ca = a;
    EXPECT_THROW(a.GetAt(0), CInvalidArgException);
    EXPECT_THROW(ca[0], CInvalidArgException);
    EXPECT_THROW(a.SetAt(0, 1), CInvalidArgException);
    EXPECT_THROW(a.RemoveAt(0), CInvalidArgException);
    const std::size_t beforeAdd = bench::AllocationCount();
    a.Add(1);
    EXPECT_GT(bench::AllocationCount(), beforeAdd);
    CUIntArray copied(a), assigned;
    assigned = a;
    a.SetAt(0, 2);
    copied.Add(3);
    assigned.RemoveAll();
    EXPECT_TRUE(a.GetSize() == 1 && a[0] == 2 && copied.GetSize() == 2 && copied[0] == 1 && assigned.IsEmpty());
}

}  // namespace
