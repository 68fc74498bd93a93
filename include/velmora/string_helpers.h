// String and version helpers of the common library: attribute strings are "Key=Value" segments
// separated by ";", versions are dotted decimal strings such as "3.37.0" or "3.40.0.193253".
#ifndef VELMORA_STRING_HELPERS_H_
#define VELMORA_STRING_HELPERS_H_

#include <string>
#include <vector>

#include <velmora/export.h>

// Clears out, then appends every piece of src between delimiters, empty pieces included:
// "a;;b" gives three pieces, "" one empty piece. An empty delimiter gives src as one piece.
VELMORA_API void SplitString(const std::string& src, const std::string& delim, std::vector<std::string>& out);

// Compares two versions part by part, left to right. A part's number is its leading decimal
// digits (none: 0; above 2147483647: 2147483647); missing parts are 0. Returns -1, 0 or 1. The
// flag (set for four-part versions) does not change the comparison. So an empty or malformed
// version compares as 0.0.0, below every gate; so does a NULL one.
VELMORA_API int RealCmpVersion(const char* ver, const char* base, bool four_parts);

// dst receives src without any ASCII white space (blank, tab, CR, LF, VT, FF).
VELMORA_API void StringRemoveSpaces(const std::string& src, std::string& dst);

typedef const char* (*StringSearchFunc)(const char* haystack, const char* needle);

// Finds key in src with search. Returns its position inside src, with value set to the text after
// the key up to the next delim or the end; returns NULL (value cleared) when the key is absent or
// an argument is NULL.
VELMORA_API const char* GetAssignStrFromSourStr(const char* src, const char* delim,
                                                const char* key, std::string& value,
                                                StringSearchFunc search);

// True only for a non-empty string of '0' to '9'; false for NULL.
VELMORA_API bool IsDigit(const char* str);

// The first occurrence of needle in haystack, ASCII letter case ignored, or NULL. An empty needle
// is found at the start. NULL when either argument is NULL.
VELMORA_API const char* strstri(const char* haystack, const char* needle);

#endif  // VELMORA_STRING_HELPERS_H_
