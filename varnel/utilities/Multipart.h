// The byte scan that splits a multipart body into its fields.
#pragma once

#include <memory>
#include <span>

#include "varnel/automation/Collection.h"
#include "varnel/host/ICodePages.h"

namespace varnel {

// The fields of `body` in their order, each a Collection under the name of the field in lower case: "Value"
// always; "ContentType" and "Content" (a byte array) for a file.
//
// The boundary is the body's first line; header words are found by their bytes alone, wherever they stand. A
// body without a first line has no fields. Names and texts are decoded by the code page of locale `lcid`.
// Raises 5 for a part without disposition or name and for one that is cut short, 457 for a name that comes
// twice, and 7 where overlapping parts would copy far more than the body holds.
std::shared_ptr<Collection> ParseMultipart(std::span<const Byte> body, Long lcid,
                                           host::ICodePages& codePages);

}  // namespace varnel
