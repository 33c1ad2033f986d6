// CVariableArray: order, replacement, removal, walks, copies, depth, conversions and Sort.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "corelib/framework/InvalidArgException.h"
#include "varlib/values/Variable.h"

namespace {

// Counts live instances, to see that replaced and removed elements are freed.
class Counted : public CVariable {
public:
    explicit Counted(int64_t n) : CVariable(n) { ++s_live; }
    ~Counted() override { --s_live; }
    static inline int s_live = 0;
};

// "index=value,..." in walk order; each element must know its own index.
std::string Walk(CVariableArray& array) {
    std::string out;
    CString index;
    CVariable* pElement = nullptr;
    for (int more = array.GetFirstVariable(index, pElement); more; more = array.GetNextVariable(index, pElement)) {
        EXPECT_EQ(pElement->GetIndex(), index);
        out += index.ToUtf8() + "=" + pElement->ToString(0).ToUtf8() + ",";
    }
    return out;
}

// Elements under the decimal texts of from, from + step, ... up to to.
void Numbered(CVariableArray& array, int from, int to, int step) {
    for (int i = from; i != to; i += step)
        array.InsertElement(CString(std::to_string(i).c_str()), new CVariable(i));
}

}  // namespace

TEST(VariableArray, OrderReplacementRemovalAndWalks) {
    CVariableArray array, copy;
    for (const char16_t* index : {u"c", u"a", u"b"})
        array.InsertElement(index, new Counted(1));
    array.InsertElement(u"a", new Counted(2));   // replaced in place, the old one freed
    EXPECT_EQ(Walk(array) + std::to_string(Counted::s_live), "c=1,a=2,b=1,3");
    CVariable* pA = nullptr;
    ASSERT_TRUE(array.Lookup(u"a", pA));
    array.InsertElement(u"a", pA);   // the same pointer again frees nothing
    EXPECT_EQ(pA->m_nValue, 2);
    array.RemoveVariable(u"a");
    array.RemoveVariable(u"missing");
    EXPECT_EQ(array.GetIndex(1) + array.GetIndex(2), CString(u"b"));
    array.InsertElement(u"d", new Counted(3));
    copy.InsertElement(u"old", new Counted(9));
    copy = array;   // frees the old element, copies as plain CVariables
    EXPECT_EQ(Walk(copy) + std::to_string(Counted::s_live), "c=1,b=1,d=3,3");
    array.CleanUp();
    EXPECT_EQ(Counted::s_live + array.GetCount(), 0);
    // An empty array answers with nothing and leaves the arguments alone; all walks share one cursor.
    CString index(u"untouched");
    CVariable* pElement = nullptr;
    EXPECT_EQ(array.GetFirstVariable(index, pElement) + array.GetFirstIndex(index), 0);
    EXPECT_EQ(index + array.GetIndex(0) + array.GetIndex(-1), CString(u"untouched"));
    EXPECT_THROW(array.InsertElement(u"x", nullptr), CInvalidArgException);
    array.InsertElement(u"x", new CVariable(1));
    array.InsertElement(u"y", new CVariable(CVariableArray()));
    ASSERT_EQ(array.GetFirstIndex(index), 1);
    ASSERT_EQ(array.GetNextVariable(index, pElement), 1);   // continues the index walk
    EXPECT_EQ(index, CString(u"y"));
    EXPECT_EQ(array.GetNextIndex(index), 0);
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
    EXPECT_TRUE(pChild->m_arrayValue.GetCount() == 1 && pChild->m_arrayValue.IsElementExist(u"child"));
    root = *pChild;   // a descendant into its ancestor
    EXPECT_TRUE(root.m_arrayValue.IsElementExist(u"child") && root.GetIndex() == u"child");
    CString index;
    copyOfRoot.m_arrayValue.GetFirstVariable(index, copyOfRoot);   // the walk's holder receives its element
    EXPECT_TRUE(copyOfRoot.m_arrayValue.IsElementExist(u"leaf"));
}

// A copy, made new or assigned over an array that held something, lists its
// elements in the source's order, and its base map walks as a map with the
// source's bucket count does when the source's pairs go in in their walk
// order (which reverses each chain), however the source's indexes came in.
TEST(VariableArray, CopiesWalkAsTheirSource) {
    const struct {
        const char* name;
        void (*build)(CVariableArray&);
    } rows[] = {
        {"0 .. 199 in order", [](CVariableArray& a) { Numbered(a, 0, 200, 1); }},
        {"199 .. 0 backwards", [](CVariableArray& a) { Numbered(a, 199, -1, -1); }},
        {"in order, the top removed and one in the middle",
         [](CVariableArray& a) {
             Numbered(a, 0, 120, 1);
             a.RemoveVariable(u"119");
             a.RemoveVariable(u"40");
         }},
        {"in order, then new buckets",
         [](CVariableArray& a) {
             Numbered(a, 0, 120, 1);
             a.InitHashTable(31);
         }},
        {"names and numbers mixed",
         [](CVariableArray& a) {
             Numbered(a, 0, 60, 1);
             a.InsertElement(u"name", new CVariable(1));
             Numbered(a, 60, 90, 1);
         }},
        {"prepared buckets",
         [](CVariableArray& a) {
             a.PreallocateHashTable(64);
             Numbered(a, 0, 300, 1);
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CVariableArray source;
        row.build(source);
        CVariableArray made(source), assigned;
        assigned.InsertElement(u"old", new CVariable(1));
        assigned = source;
        CMapEx<CString, const char16_t*, int, int> model;
        model.InitHashTable(source.GetHashTableSize());
        for (const CVariableArray::CPair* p = source.PGetFirstAssoc(); p; p = source.PGetNextAssoc(p))
            model[p->key] = static_cast<int>(p->value->m_nValue);
        for (CVariableArray* copy : {&made, &assigned}) {
            EXPECT_EQ(copy->GetHashTableSize(), source.GetHashTableSize());
            const auto* p = model.PGetFirstAssoc();
            const CVariableArray::CPair* q = copy->PGetFirstAssoc();
            for (; p && q; p = model.PGetNextAssoc(p), q = copy->PGetNextAssoc(q)) {
                ASSERT_EQ(p->key, q->key);
                ASSERT_EQ(p->value, q->value->m_nValue);
            }
            EXPECT_TRUE(p == nullptr && q == nullptr);
            EXPECT_EQ(Walk(*copy), Walk(source));
        }
    }
}

// Built, copied, compared, printed and destroyed without the call stack growing with the depth.
TEST(VariableArray, DeepNesting) {
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
    EXPECT_EQ(root.ToString(0).GetLength(), kDepth * 12 + 9);   // "[0] = {\r\n" and "}\r\n" per level, "[0] = 2\r\n"
    root.ResetType(VT_INT);
}

// Bulk fills go under "0", "1", ... replacing in place; the reads go by position.
TEST(VariableArray, ConversionsByPosition) {
    CUIntArray uints;
    uints.Add(4294967295u);
    uints.Add(7u);
    CVariableArray array;
    array.InsertElement(u"x", new CVariable(CString(u"kept")));
    array.InsertElement(u"0", new CVariable(CString(u"replaced")));
    array.ConstructFromUIntArray(uints);
    EXPECT_EQ(Walk(array), "x=kept,0=-1,1=7,");
    array.GetUIntArray(uints);   // replaces the content, the low 32 bits of each
    CWordArray words;
    words.Add(65535);
    array.ConstructFromWordArray(words);
    EXPECT_EQ(Walk(array), "x=kept,0=65535,1=7,");
    EXPECT_EQ(std::to_string(uints.GetSize()) + "," + std::to_string(uints[1]), "3,4294967295");
}

// Sort puts copies, ascending, under "0", "1", ... of a target it doesn't empty first, itself included.
// Over mixed types and NaN operator< is no strict weak ordering; the sort must still keep every element.
TEST(VariableArray, Sort) {
    CVariableArray source, sorted;
    for (const auto& [index, n] : std::vector<std::pair<const char16_t*, int>>{{u"x", 3}, {u"y", 1}, {u"z", 2}})
        source.InsertElement(index, new CVariable(n));
    sorted.InsertElement(u"9", new CVariable(100));
    sorted.InsertElement(u"0", new CVariable(100));
    source.Sort(sorted);
    EXPECT_EQ(Walk(sorted), "9=100,0=1,1=2,2=3,");
    source.Sort(source);
    EXPECT_EQ(Walk(source), "x=3,y=1,z=2,0=1,1=2,2=3,");

    CVariableArray mixed;
    std::vector<std::string> before, after;
    for (int i = 0; i < 500; ++i) {
        const CVariable element = i % 3 ? CVariable(int64_t{(i * 7919) % 1000})
                                  : i % 2 ? CVariable(std::nan("")) : CVariable(CString(u"s"));
        before.push_back(element.ToString(0).ToUtf8());
        mixed.InsertElement(CString(std::to_string(i).c_str()), new CVariable(element));
    }
    CVariableArray target;
    mixed.Sort(target);
    ASSERT_EQ(target.GetCount(), 500);
    for (int i = 0; i < 500; ++i)
        after.push_back(target.GetAt(i)->ToString(0).ToUtf8());
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    EXPECT_EQ(after, before);
}
