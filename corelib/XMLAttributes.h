// CXMLAttributes: the attributes of one element, found in one walk over them.
//
// CXML::GetAttr walks the element's attributes from the first for every name
// it is asked for, so reading the six attributes of a value's element compares
// names 21 times. A reader that knows its names up front compares each
// attribute once, and gives every value the way CXML's GetAttr* would: the
// first attribute of a name counts; an absent or unreadable one gives the
// default. The texts stay in the tree: use the reader while the element lives
// and is not changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "corelib/XML.h"
#include "corelib/framework/String.h"

class CXMLAttributes {
public:
    static constexpr std::size_t MAX_NAMES = 8;

    // names: at most MAX_NAMES (more throw CInvalidArgException), in UTF-8;
    // a getter's index is the position of its name in the list.
    CXMLAttributes(const CXML& node, std::initializer_list<const char*> names);

    int HasAttr(std::size_t index) const { return Text(index) != nullptr ? 1 : 0; }
    CString GetAttr(std::size_t index, const CString& def) const;
    int GetAttrInt(std::size_t index, int def) const;
    int64_t GetAttrInt64(std::size_t index, int64_t def) const;
    double GetAttrDouble(std::size_t index, double def) const;

private:
    const char* Text(std::size_t index) const { return index < MAX_NAMES ? m_texts[index] : nullptr; }

    const char* m_texts[MAX_NAMES] = {};   // the value of each name; null while absent
};
