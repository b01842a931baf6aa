#pragma once

#include "base/result.h"
#include "session/session_doc.h"

#include <string>
#include <string_view>

// The log's file form: compact JSON, keys in byte order, absent optionals left out.
namespace korvalume::sessionfile {

// The bytes of the file. Fails only for a value JSON can't hold (a non-finite
// double, text that is not UTF-8), naming it.
Result<std::string> encoded(const SessionDoc& doc);

// Strict reading of an untrusted file: malformed JSON, a missing required key, a
// wrong type or an unknown case name refuses the whole file, with the reason.
// Keys it does not know are passed over; null on an optional key is absent.
Result<SessionDoc> decode(std::string_view data);

} // namespace korvalume::sessionfile
