// CIntegerEnum: an ordered list of CIntegerEnumEntry that names the values of
// an INT variable.
//
// Entries go in and out through the array interface (Add, GetAt, operator[],
// GetSize). Order is insertion order; names and values need not be unique.
// Every search is linear: enumerations are short lists of named states. No
// lock: one thread at a time.
#pragma once

#include <cstdint>

#include "corelib/XML.h"
#include "corelib/framework/Array.h"
#include "corelib/framework/String.h"
#include "varlib/metadata/IntegerEnumEntry.h"

class CIntegerEnum : public CArray<CIntegerEnumEntry, const CIntegerEnumEntry&> {
public:
    CIntegerEnum() = default;
    // Empty, then FromXml(node).
    CIntegerEnum(CXML& node);
    // Copies the entries one by one.
    CIntegerEnum(const CIntegerEnum& src) : CArray() { Copy(src); }
    // Copies the entries one by one; assigning an enumeration to itself changes nothing.
    CIntegerEnum& operator=(const CIntegerEnum& src) {
        if (&src != this) Copy(src);
        return *this;
    }
    // Inline: every value holds an enumeration, and most leave it empty.
    ~CIntegerEnum() override = default;

    // 1 when an entry has exactly this name (case-sensitive).
    int IsEntryExist(const CString& strName) const;
    // First entry with this name: copied to entry, result 1; else 0 and entry untouched.
    int FindEntry(const CString& strName, CIntegerEnumEntry& entry) const;
    // First entry with this value: copied to entry, result 1; else 0 and entry untouched.
    int FindEntry(int64_t nValue, CIntegerEnumEntry& entry) const;

    // "IntegerEnum" with one "EnumEntry" child per entry, in array order.
    CXML ToXml() const;
    // Replaces the entries with one per child of node, whatever the child's tag.
    void FromXml(CXML& node);

    static const CString TAG_NAME;   // "IntegerEnum"
};
