// CVariableArray: order, replacement, removal, cursor, copy, depth,
// conversions and Sort.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "corelib/framework/InvalidArgException.h"
#include "varlib/values/Variable.h"

namespace {

// Reaches the ordinal map and the cursor.
class ArrayProbe : public CVariableArray {
public:
    unsigned int OrderHashSize() const { return m_mapOrder.GetHashTableSize(); }
    intptr_t OrderCount() const { return m_mapOrder.GetCount(); }
    int Cursor() const { return m_nCursor; }
};

// Counts live instances, to see that replaced and removed elements are freed.
class Counted : public CVariable {
public:
    explicit Counted(int64_t n) : CVariable(n) { ++s_live; }
    ~Counted() override { --s_live; }
    static inline int s_live = 0;
};

std::vector<std::u16string> WalkIndexes(CVariableArray& array) {
    std::vector<std::u16string> indexes;
    CString index;
    CVariable* pElement = nullptr;
    for (int more = array.GetFirstVariable(index, pElement); more; more = array.GetNextVariable(index, pElement)) {
        EXPECT_EQ(pElement->GetIndex(), index);
        indexes.push_back(index.Str());
    }
    return indexes;
}

std::vector<int64_t> WalkInts(CVariableArray& array) {
    std::vector<int64_t> values;
    CString index;
    CVariable element;
    for (int more = array.GetFirstVariable(index, element); more; more = array.GetNextVariable(index, element))
        values.push_back(element.m_nValue);
    return values;
}

using Indexes = std::vector<std::u16string>;

}  // namespace

TEST(VariableArray, FirstInsertionOrderSurvivesReplaceRemoveAndCopy) {
    ArrayProbe array;
    for (const char16_t* index : {u"c", u"a", u"b"})
        array.InsertElement(index, new Counted(1));
    EXPECT_EQ(WalkIndexes(array), (Indexes{u"c", u"a", u"b"}));
    EXPECT_EQ(array.GetIndex(2), CString(u"b"));

    array.InsertElement(u"a", new Counted(2));   // replaced in place, old one freed
    EXPECT_EQ(Counted::s_live, 3);
    EXPECT_EQ(WalkIndexes(array), (Indexes{u"c", u"a", u"b"}));
    CVariable* pA = nullptr;
    ASSERT_TRUE(array.Lookup(u"a", pA));
    array.InsertElement(u"a", pA);   // the same pointer again frees nothing
    EXPECT_EQ(pA->m_nValue, 2);

    array.RemoveVariable(u"a");
    EXPECT_EQ(Counted::s_live, 2);
    EXPECT_EQ(array.GetIndex(1), CString(u"b"));
    array.RemoveVariable(u"missing");
    array.InsertElement(u"d", new Counted(3));
    EXPECT_EQ(WalkIndexes(array), (Indexes{u"c", u"b", u"d"}));
    EXPECT_EQ(array.OrderCount(), 3);

    ArrayProbe copy;
    copy.InsertElement(u"old", new Counted(9));
    copy = array;
    EXPECT_EQ(Counted::s_live, 3);   // the copies are plain CVariables
    EXPECT_EQ(WalkIndexes(copy), (Indexes{u"c", u"b", u"d"}));
    EXPECT_EQ(copy.IsElementExist(u"old"), 0);
    // The base map walks alike too: same buckets, same chains.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(copy.GetAt(i)->GetIndex(), array.GetAt(i)->GetIndex());

    array.CleanUp();
    EXPECT_EQ(Counted::s_live, 0);
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_EQ(array.OrderCount(), 0);
}

TEST(VariableArray, EmptyArrayAnswers) {
    CVariableArray array;
    CString index(u"untouched");
    CVariable* pElement = nullptr;
    EXPECT_EQ(array.GetFirstVariable(index, pElement) + array.GetFirstIndex(index), 0);
    EXPECT_EQ(index, CString(u"untouched"));
    EXPECT_EQ(array.GetIndex(0) + array.GetIndex(-1), CString());
    EXPECT_EQ(array.GetFirstItemType(), VT_UNDEFINED);
    EXPECT_EQ(array.IsSingleDimensioned(), 1);
    EXPECT_THROW(array.InsertElement(u"x", nullptr), CInvalidArgException);
}

TEST(VariableArray, CursorIsSharedByAllWalks) {
    ArrayProbe array;
    array.InsertElement(u"x", new CVariable(1));
    array.InsertElement(u"y", new CVariable(CVariableArray()));
    EXPECT_EQ(array.GetFirstItemType(), VT_INT);
    EXPECT_EQ(array.IsSingleDimensioned(), 0);
    CString index;
    ASSERT_EQ(array.GetFirstIndex(index), 1);
    CVariable* pElement = nullptr;
    ASSERT_EQ(array.GetNextVariable(index, pElement), 1);   // continues the index walk
    EXPECT_EQ(index, CString(u"y"));
    EXPECT_EQ(array.GetNextIndex(index), 0);
    EXPECT_EQ(array.Cursor(), 2);
    array.CleanUp();
    EXPECT_EQ(array.Cursor(), 0);
}

TEST(VariableArray, PreallocateOnlyEnlargesAnEmptyArray) {
    // {filled first, requested size, resulting bucket count}
    for (const auto& [filled, size, expected] : std::vector<std::tuple<bool, unsigned, unsigned>>{
             {false, 17, 17}, {false, 5, 17}, {false, 18, 18}, {true, 1000, 17}}) {
        SCOPED_TRACE(size);
        ArrayProbe array;
        if (filled)
            array.InsertElement(u"x", new CVariable(1));
        array.PreallocateHashTable(size);
        EXPECT_EQ(array.GetHashTableSize(), expected);
        EXPECT_EQ(array.OrderHashSize(), expected);
    }
    ArrayProbe big;   // a copy takes the source's bucket count
    big.PreallocateHashTable(101);
    big.InsertElement(u"x", new CVariable(1));
    ArrayProbe copy;
    copy = big;
    EXPECT_EQ(copy.GetHashTableSize() + copy.OrderHashSize(), 202u);
}

// Assignments between a value and a part of itself must neither free what
// they still read nor loop.
TEST(VariableArray, CopyBetweenNestedLevels) {
    CVariable root{CVariableArray()};
    auto* pChild = new CVariable(CVariableArray());
    pChild->m_arrayValue.InsertElement(u"leaf", new CVariable(7));
    root.m_arrayValue.InsertElement(u"child", pChild);

    root.m_arrayValue = root.m_arrayValue;   // itself: unchanged
    EXPECT_EQ(root.m_arrayValue.GetCount(), 1);

    CVariable copyOfRoot(root);
    pChild->m_arrayValue = root.m_arrayValue;   // an ancestor into its descendant
    EXPECT_EQ(pChild->m_arrayValue.GetCount(), 1);
    EXPECT_TRUE(pChild->m_arrayValue.IsElementExist(u"child"));

    root = *pChild;   // a descendant into its ancestor
    EXPECT_TRUE(root.m_arrayValue.IsElementExist(u"child"));
    EXPECT_EQ(root.GetIndex(), CString(u"child"));

    CString index;
    copyOfRoot.m_arrayValue.GetFirstVariable(index, copyOfRoot);   // the walk's holder receives its element
    EXPECT_TRUE(copyOfRoot.m_arrayValue.IsElementExist(u"leaf"));
}

TEST(VariableArray, DeepNestingWithoutCallStack) {
    constexpr int kDepth = 100000;
    CVariable root{CVariableArray()};
    CVariable* pLevel = &root;
    for (int i = 0; i < kDepth; ++i) {
        auto* pNext = new CVariable(CVariableArray());
        pLevel->m_arrayValue.InsertElement(u"0", pNext);
        pLevel = pNext;
    }
    pLevel->m_arrayValue.InsertElement(u"0", new CVariable(1));

    CVariable copy(root);
    EXPECT_EQ(copy == root, 1);
    pLevel->m_arrayValue.InsertElement(u"0", new CVariable(2));
    EXPECT_EQ(copy == root, 0);
    const CString text = root.ToString(0);
    EXPECT_EQ(text.GetLength(), kDepth * 12 + 9);   // "[0] = {\r\n" and "}\r\n" per level, "[0] = 2\r\n"
    root.ResetType(VT_INT);
}

TEST(VariableArray, ConversionsByPosition) {
    CUIntArray uints;
    uints.Add(4294967295u);
    uints.Add(7u);
    CVariableArray array;
    array.InsertElement(u"x", new CVariable(CString(u"kept")));
    array.InsertElement(u"0", new CVariable(CString(u"replaced")));
    array.ConstructFromUIntArray(uints);
    EXPECT_EQ(WalkIndexes(array), (Indexes{u"x", u"0", u"1"}));
    EXPECT_EQ(array.ToDelimitedString(), CString(u"kept;-1;7"));

    CUIntArray uintsOut;
    array.GetUIntArray(uintsOut);
    ASSERT_EQ(uintsOut.GetSize(), 3);
    EXPECT_EQ(uintsOut[1], 4294967295u);
    CByteArray bytesOut;
    array.GetByteArray(bytesOut);   // no element is a BYTE: zeros, full count
    ASSERT_EQ(bytesOut.GetSize(), 3);
    EXPECT_EQ(bytesOut[0] + bytesOut[1] + bytesOut[2], 0);
    CStringArray stringsOut;
    array.GetStringArray(stringsOut);
    EXPECT_EQ(stringsOut[0] + stringsOut[1], CString(u"kept"));

    CWordArray words;
    words.Add(65535);
    CByteArray bytes;
    bytes.Add(65);
    CVariableArray fresh;
    fresh.ConstructFromWordArray(words);
    fresh.ConstructFromByteArray(bytes);   // replaces "0"
    words.Add(1);
    fresh.ConstructFromWordArray(words);
    EXPECT_EQ(fresh.ToDelimitedString(), CString(u"65535;1"));
}

TEST(VariableArray, SortCopiesAscendingUnderNewIndexes) {
    CVariableArray source;
    source.InsertElement(u"x", new CVariable(3));
    source.InsertElement(u"y", new CVariable(1));
    source.InsertElement(u"z", new CVariable(2));
    CVariableArray sorted;
    for (int i = 0; i < 5; ++i)
        sorted.InsertElement(CString(std::u16string(1, static_cast<char16_t>(u'0' + i))), new CVariable(100));
    source.Sort(sorted);
    EXPECT_EQ(WalkIndexes(sorted), (Indexes{u"0", u"1", u"2", u"3", u"4"}));
    EXPECT_EQ(WalkInts(sorted), (std::vector<int64_t>{1, 2, 3, 100, 100}));
    EXPECT_EQ(WalkInts(source), (std::vector<int64_t>{3, 1, 2}));

    CVariableArray empty;
    empty.Sort(sorted);
    EXPECT_EQ(sorted.GetCount(), 5);

    source.Sort(source);   // into itself
    EXPECT_EQ(WalkIndexes(source), (Indexes{u"x", u"y", u"z", u"0", u"1", u"2"}));
    EXPECT_EQ(WalkInts(source), (std::vector<int64_t>{3, 1, 2, 1, 2, 3}));
}

// Over mixed types (and NaN) operator< is no strict weak ordering; the sort
// must still end, stay in bounds and keep every element.
TEST(VariableArray, SortOfMixedTypesKeepsEveryElement) {
    CVariableArray source;
    std::vector<int64_t> ints;
    for (int i = 0; i < 500; ++i) {
        CVariable* pElement = i % 3 == 0 ? new CVariable(CString(u"s"))
                              : i % 3 == 1 ? new CVariable(std::nan(""))
                                           : new CVariable(int64_t{(i * 7919) % 1000});
        if (pElement->IsInteger())
            ints.push_back(pElement->m_nValue);
        source.InsertElement(CString(std::to_string(i).c_str()), pElement);
    }
    CVariableArray sorted;
    source.Sort(sorted);
    ASSERT_EQ(sorted.GetCount(), 500);
    std::vector<int64_t> seenInts;
    int counts[3] = {0, 0, 0};
    for (int i = 0; i < 500; ++i) {
        CVariable* pElement = nullptr;
        ASSERT_TRUE(sorted.Lookup(CString(std::to_string(i).c_str()), pElement));
        ++counts[pElement->IsString() ? 0 : pElement->IsDouble() ? 1 : 2];
        if (pElement->IsInteger())
            seenInts.push_back(pElement->m_nValue);
    }
    EXPECT_EQ(counts[0], 167);
    EXPECT_EQ(counts[1], 167);
    std::sort(ints.begin(), ints.end());
    std::sort(seenInts.begin(), seenInts.end());
    EXPECT_EQ(seenInts, ints);
}
