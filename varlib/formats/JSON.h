// CJSON: reads JSON text into a CVariable.
//
// A recursive-descent parser over the UTF-16 code units of a CString with an
// int position, made of static functions only: no fields, no object needed.
// Objects and arrays both become ARRAY values (objects keep their member names
// as indexes, arrays get "0", "1", ...); strings become STRING, numbers with
// ".", "e" or "E" DOUBLE, other numbers, true and false INT, null a value of
// type 0.
//
// Lenient by design: commas are optional and may be doubled, leading or
// trailing; unknown escapes vanish; text after the first complete value is
// ignored. bSuccess is the only report of a failure and is only ever lowered by
// the parse functions (Parse alone sets it to 1 first). A failure inside an
// object or array gives an ARRAY with no elements; a failure of a lone string
// or a missing value gives a value of type 0.
//
// Costs: one pass over the text; every element is built once on the heap and
// handed to its parent array, never copied. Nesting is limited to
// MAX_NESTING_DEPTH objects and arrays, so deep input costs no more than that
// many stack frames; deeper input fails as a failure inside an array does.
//
// Threading: no state, so any number of threads may parse at once.
#pragma once

#include <string_view>

#include "corelib/framework/String.h"
#include "varlib/values/Variable.h"

class CJSON {
public:
    // Token codes of NextToken and CheckNextToken.
    static constexpr int TOKEN_NONE = 0;           // end of text, or a character that starts no token
    static constexpr int TOKEN_OBJECT_OPEN = 1;    // "{"
    static constexpr int TOKEN_OBJECT_CLOSE = 2;   // "}"
    static constexpr int TOKEN_ARRAY_OPEN = 3;     // "["
    static constexpr int TOKEN_ARRAY_CLOSE = 4;    // "]"
    static constexpr int TOKEN_COLON = 5;          // ":"
    static constexpr int TOKEN_COMMA = 6;          // ","
    static constexpr int TOKEN_STRING = 7;         // a double quote
    static constexpr int TOKEN_NUMBER = 8;         // "-" or a digit
    static constexpr int TOKEN_TRUE = 9;           // "true"
    static constexpr int TOKEN_FALSE = 10;         // "false"
    static constexpr int TOKEN_NULL = 11;          // "null"

    // Objects and arrays nested deeper than this fail the parse, so that hostile
    // input cannot exhaust the stack. Real documents stay far below it.
    static constexpr int MAX_NESTING_DEPTH = 1000;

    // The value of the first complete value in json; bSuccess 1, or 0 on failure.
    // An empty json gives a value of type 0 with bSuccess 1.
    static CVariable Parse(const CString& json, int& bSuccess);
    // The same, with the flag thrown away.
    static CVariable Parse(const CString& json);
    // UTF-8 text, read as it stands: the value and the flag are those of
    // Parse(CString::FromUtf8(utf8)), ill-formed sequences and NUL bytes
    // included, without the converted copy of the text.
    static CVariable Parse(std::string_view utf8, int& bSuccess);
    static CVariable Parse(std::string_view utf8);
    // A zero-terminated UTF-8 text (null reads as empty), as CString(const char*)
    // takes it; without these a string literal would fit both kinds of text.
    static CVariable Parse(const char* utf8, int& bSuccess) { return Parse(Utf8View(utf8), bSuccess); }
    static CVariable Parse(const char* utf8) { return Parse(Utf8View(utf8)); }

    // The value at index, dispatched on the next token; index ends behind it.
    static CVariable ParseValue(const CString& json, int& index, int& bSuccess);
    // Consumes one token (the "{"), then members up to the matching "}".
    static CVariable ParseObject(const CString& json, int& index, int& bSuccess);
    // Consumes one token (the "["), then values up to the matching "]".
    static CVariable ParseArray(const CString& json, int& index, int& bSuccess);
    // Skips white space and one character taken as the opening quote, then reads
    // up to the closing quote, resolving escapes. A STRING, or type 0 on failure.
    static CVariable ParseString(const CString& json, int& index, int& bSuccess);
    // Skips white space and reads the run of number characters: DOUBLE if it holds
    // ".", "e" or "E", else INT. Never fails; a run that converts to nothing is 0.
    static CVariable ParseNumber(const CString& json, int& index);

    // Skips white space, classifies what follows and moves behind it; on
    // TOKEN_NONE index stays at the offending character.
    static int NextToken(const CString& json, int& index);
    // NextToken on a copy of index: the look-ahead.
    static int CheckNextToken(const CString& json, int index);
    // Position of the last character of the run of "0123456789+-.eE" that starts
    // at index; index - 1 if there is none.
    static int LastIndexOfNumber(const CString& json, int index);
    // Moves index past " ", "\t", "\n" and "\r".
    static void SkipWhitespace(const CString& json, int& index);

private:
    static std::string_view Utf8View(const char* utf8) { return utf8 ? std::string_view(utf8) : std::string_view(); }
};
