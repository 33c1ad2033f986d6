// CVariable: the JSON writer.
//
// The text is indented by four spaces a level. An ARRAY becomes a JSON array
// when the index of its first element reads as a number (CUtility::IsNumber),
// else a JSON object; the closing bracket of a nested array stands in the
// column of its own items. XML, UNDEFINED and ARRAY_ELEM values have no JSON
// form: meeting one anywhere gives bSuccess 0 and the empty text.
//
// The walk reads the elements in place by ordinal, without copying a level and
// without the shared cursor of GetFirstVariable/GetNextVariable, so a walk in
// progress on the value goes on undisturbed. Nested levels are frames on a
// vector rather than calls, so nesting depth costs heap, not call stack, and
// there is no depth cut-off; the text itself grows with depth times the number
// of lines, as the indentation demands.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "corelib/Utility.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

constexpr int kIndentStep = 4;

// What a character stands for inside a JSON string; 0 when it stays as it is.
// Only these five controls, the quote and the backslash are escaped: "/",
// the other controls and everything above 127 are written raw.
constexpr char16_t EscapeLetter(char16_t ch) {
    switch (ch) {
    case u'\\': return u'\\';
    case u'"': return u'"';
    case 8: return u'b';
    case 12: return u'f';
    case 10: return u'n';
    case 13: return u'r';
    case 9: return u't';
    default: return 0;
    }
}

// The text being written, in UTF-16 (Char char16_t, for ToJSON) or UTF-8
// (char, for ToJSONUtf8). Everything the writer adds itself is ASCII; value
// texts are converted as they are appended, and since each run of them starts
// and ends next to ASCII, converting run by run gives what converting the
// whole text would.
//
// It grows in a buffer kept from call to call on the thread (up to
// kKeptBytes), so that a writer called again and again works in memory the
// process already has: a text that doubled its way up in fresh blocks each
// call would fault in every page it touches, since the heap hands large freed
// blocks straight back to the system. The result is one exact copy.
template <class Char>
class JsonText {
public:
    using Text = std::basic_string<Char>;

    // A writer that starts while another on the thread is still writing (one
    // called from inside a conversion) gets a text of its own.
    JsonText() : m_pText(t_bBusy ? &m_own : &t_scratch), m_bShared(!t_bBusy) {
        t_bBusy = true;
        m_pData = m_pText->data();
        m_nCapacity = m_pText->size();
    }
    ~JsonText() {
        if (!m_bShared)
            return;
        t_bBusy = false;
        if (t_scratch.capacity() * sizeof(Char) > kKeptBytes)
            Text().swap(t_scratch);
    }
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;

    void Append(std::u16string_view text) {
        // UTF-16 as it stands; into UTF-8, ASCII (the writer's own punctuation
        // and indentation, and most texts) narrowed in one pass.
        if (sizeof(Char) == 2 || std::all_of(text.begin(), text.end(), [](char16_t ch) { return ch < 0x80; })) {
            std::copy(text.begin(), text.end(), Room(text.size()));
            m_nSize += text.size();
        } else {
            static thread_local std::string t_utf8;   // kept: no allocation a text
            t_utf8.clear();
            CString::AppendUtf8(t_utf8, text);
            AppendAscii(t_utf8.data(), t_utf8.data() + t_utf8.size());
        }
    }
    void Append(char16_t ch) {
        if (sizeof(Char) == 2 || ch < 0x80)
            *Room(1) = static_cast<Char>(ch), ++m_nSize;
        else
            Append(std::u16string_view(&ch, 1));
    }
    // Bytes as they stand: ASCII numbers, or UTF-8 into a UTF-8 text.
    void AppendAscii(const char* first, const char* last) {
        const std::size_t n = static_cast<std::size_t>(last - first);
        std::copy(first, last, Room(n));
        m_nSize += n;
    }
    void AppendSpaces(std::size_t count) {
        std::fill_n(Room(count), count, Char(' '));
        m_nSize += count;
    }
    // Cuts every trailing character of the (ASCII) set.
    void TrimRight(std::u16string_view set) {
        while (m_nSize > 0 && set.find(static_cast<char16_t>(m_pData[m_nSize - 1])) != std::u16string_view::npos)
            --m_nSize;
    }
    auto Result() const {
        if constexpr (sizeof(Char) == 2)
            return CString(std::u16string_view(m_pData, m_nSize));
        else
            return std::string(m_pData, m_nSize);
    }

private:
    static constexpr std::size_t kKeptBytes = std::size_t{8} << 20;
    static thread_local Text t_scratch;
    static thread_local bool t_bBusy;

    // Where n more units go. The text's own size is its capacity here, grown
    // by doubling; m_nSize says how much of it is written.
    Char* Room(std::size_t n) {
        if (m_nSize + n > m_nCapacity) [[unlikely]]
            Grow(n);
        return m_pData + m_nSize;
    }
    [[gnu::noinline]] void Grow(std::size_t n) {
        m_pText->resize(std::max({m_nSize + n, m_nCapacity * 2, std::size_t{4096}}));
        m_pData = m_pText->data();
        m_nCapacity = m_pText->size();
    }

    Text m_own;
    Text* m_pText;
    bool m_bShared;
    Char* m_pData = nullptr;
    std::size_t m_nSize = 0;
    std::size_t m_nCapacity = 0;
};
template <class Char>
thread_local std::basic_string<Char> JsonText<Char>::t_scratch;
template <class Char>
thread_local bool JsonText<Char>::t_bBusy = false;

// One pass that gives what the seven replacements (backslash first) give: no
// replacement brings in a character that a later one replaces.
template <class Out>
void AppendEscaped(Out& out, std::u16string_view text) {
    std::size_t runStart = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t letter = EscapeLetter(text[i]);
        if (letter == 0)
            continue;
        out.Append(text.substr(runStart, i - runStart));
        out.Append(std::u16string_view(u"\\", 1));
        out.Append(letter);
        runStart = i + 1;
    }
    out.Append(text.substr(runStart));
}

template <class Out>
void AppendQuoted(Out& out, std::u16string_view text) {
    out.Append(u'"');
    AppendEscaped(out, text);
    out.Append(u'"');
}

template <class Out>
void AppendInteger(Out& out, int64_t value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.AppendAscii(buffer, result.ptr);
}

// The "%f" text of ToString(0): fixed point with six decimals. to_chars gives
// printf's exact, correctly rounded digits without the locale and the format
// parsing; NaN and the infinities go through ToString so that they read as
// the platform's printf writes them.
template <class Out>
void AppendDouble(Out& out, const CVariable& value) {
    if (!std::isfinite(value.m_dValue)) {
        out.Append(value.ToString(0).View());
        return;
    }
    char buffer[400];   // DBL_MAX has 309 integer digits
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value.m_dValue, std::chars_format::fixed, 6);
    out.AppendAscii(buffer, result.ptr);
}

template <class Out>
void AppendSpaces(Out& out, int64_t count) {
    if (count > 0)
        out.AppendSpaces(static_cast<std::size_t>(count));
}

// Writes a value that is not an ARRAY; false if it has no JSON form.
template <class Out>
bool AppendScalar(Out& out, const CVariable& value) {
    if (value.IsString()) {
        AppendQuoted(out, value.m_strValue.View());
    } else if (value.IsDouble()) {
        AppendDouble(out, value);
    } else if (value.IsInteger()) {
        AppendInteger(out, value.m_nValue);   // the number, never an enumeration name
    } else if (value.IsChar()) {
        // CHAR and BYTE are written as their code, a JSON number: the one-character
        // text of ToString would be a bare letter (not JSON) or, quoted, could hold
        // a NUL or a lone surrogate. The parser reads the code back as an INT.
        AppendInteger(out, value.m_chValue);
    } else if (value.IsByte()) {
        AppendInteger(out, value.m_byteValue);
    } else if (value.IsXml()) {
        return false;
    } else if (value.IsPdu()) {
        out.Append(value.m_pduValue.ToJSON().View());
    } else if (value.IsVb()) {
        out.Append(value.m_vbValue.ToJSON().View());
    } else if (value.IsTime()) {
        // The local date "dd.mm.yyyy"; a time outside the local-time range throws from ToString.
        AppendQuoted(out, value.ToString(0).View());
    } else {
        return false;   // UNDEFINED, ARRAY_ELEM and numbers outside the type table
    }
    return true;
}

// Escapes into a CString, for NormalizeJsonString.
struct StringOut {
    CString& text;
    void Append(std::u16string_view part) { text.Append(part); }
    void Append(char16_t ch) { text += ch; }
};

}  // namespace

template <class Out>
bool CVariable::WriteJson(Out& out, int nIndent) const {
    // An element to write and the index it is stored under (what a copy of
    // the element would carry in m_strIndex).
    using JsonItem = CVariableArray::OrderedElement;
    // One array level being written: its items are items[nNext, nEnd).
    struct JsonFrame {
        std::size_t nBegin;
        std::size_t nNext;
        int64_t nIndent;   // indentation of the line that holds the array's value
        bool bObject;      // a JSON object (first index not a number) rather than an array
    };

    if (!IsArray())
        return AppendScalar(out, *this);

    // The items of every open level, innermost last. A level's elements are
    // gathered in one tight loop when it opens: the ordinal lookups of one
    // level don't depend on each other, so their cache misses overlap instead
    // of each waiting behind the writing of the element before.
    std::vector<JsonItem> items;
    std::vector<JsonFrame> frames;
    // Opens the array held by value; false for one without elements.
    const auto open = [&items, &frames, &out](const CVariable& value, int64_t nValueIndent) {
        const std::size_t begin = items.size();
        value.m_arrayValue.AppendInOrder(items);
        if (items.size() == begin)
            return false;
        const bool bObject = CUtility::IsNumber(*items[begin].pIndex) == 0;
        out.Append(bObject ? u"{\n" : u"[\n");
        frames.push_back({begin, begin, nValueIndent, bObject});
        return true;
    };

    // An ARRAY without elements has the empty text at the top.
    if (!open(*this, nIndent))
        return true;

    while (!frames.empty()) {
        JsonFrame& frame = frames.back();
        const int64_t nItemIndent = frame.nIndent + kIndentStep;
        if (frame.nNext == items.size()) {
            // Close: the last ",\n" goes (cut as a character set), and a nested
            // array's bracket goes in the column of its items.
            out.TrimRight(u",\n");
            out.Append(u'\n');
            if (frame.nIndent > 0)
                AppendSpaces(out, nItemIndent);
            out.Append(frame.bObject ? u'}' : u']');
            items.resize(frame.nBegin);
            frames.pop_back();
            if (!frames.empty())
                out.Append(u",\n");
            continue;
        }
        // Fetch the elements a few items ahead of the writing: a large level's
        // elements lie far apart from its gathered pointers.
        if (frame.nNext + 8 < items.size())
            __builtin_prefetch(&items[frame.nNext + 8].pElement->m_eType);
        const JsonItem item = items[frame.nNext++];
        AppendSpaces(out, nItemIndent);
        if (frame.bObject) {
            AppendQuoted(out, item.pIndex->View());
            out.Append(u" : ");
        }
        if (item.pElement->IsArray()) {
            // A nested array without elements is written as "[]": its empty text
            // would leave nothing after the separator, which no JSON reader takes,
            // and with no first index there is nothing to choose an object by.
            if (!open(*item.pElement, nItemIndent))   // invalidates frame
                out.Append(u"[],\n");
            continue;
        }
        if (!AppendScalar(out, *item.pElement))
            return false;
        out.Append(u",\n");
    }
    return true;
}

CString CVariable::ToJSON(int& bSuccess, int nIndent) const {
    JsonText<char16_t> out;
    bSuccess = WriteJson(out, nIndent) ? 1 : 0;
    return bSuccess ? out.Result() : CString();
}

std::string CVariable::ToJSONUtf8(int& bSuccess, int nIndent) const {
    JsonText<char> out;
    bSuccess = WriteJson(out, nIndent) ? 1 : 0;
    return bSuccess ? out.Result() : std::string();
}

std::optional<std::string> CVariable::ToJSONText(int nIndent) const {
    int bSuccess = 0;
    std::string text = ToJSONUtf8(bSuccess, nIndent);
    if (!bSuccess)
        return std::nullopt;
    return text;
}

void CVariable::NormalizeJsonString(CString& text) {
    const std::u16string_view view = text.View();
    const auto needsEscape = [](char16_t ch) { return EscapeLetter(ch) != 0; };
    if (std::none_of(view.begin(), view.end(), needsEscape))
        return;
    CString escaped;
    StringOut out{escaped};
    AppendEscaped(out, view);
    text = std::move(escaped);
}
