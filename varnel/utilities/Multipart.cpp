#include "varnel/utilities/Multipart.h"

#include <algorithm>

#include "varnel/automation/Error.h"
#include "varnel/utilities/ByteSearch.h"

namespace varnel {

namespace {

constexpr Byte kCR = 13;
constexpr Byte kQuote = 34;

// The parts of a sound body don't overlap: all that is copied out of it together is shorter than it is. Parts
// that share their header words can be made to overlap, and each would copy nearly the whole body.
constexpr std::int64_t kMostCopiesOfTheBody = 8;

// Positions count from 1 and 0 stands for "not found", from which the arithmetic goes on: a search from 0 and
// a negative length are errors. Each search begins where the part before began it or later, so that each has
// its own memory and the whole scan passes over the body a fixed number of times. In a sound body the
// boundary behind a part's name and data is the next part's, which is known already: it is passed over once.
class MultipartScan {
 public:
  MultipartScan(std::span<const Byte> body, const Bytes& boundary, Long lcid, host::ICodePages& codePages)
      : m_body(body),
        m_lcid(lcid),
        m_codePages(codePages),
        m_nextBoundary(body, boundary),
        m_boundaryBehindName(body, boundary),
        m_boundaryBehindValue(body, boundary),
        m_boundaryBehindData(body, boundary),
        m_disposition(body, codePages.Encode(u"Content-Disposition")),
        m_name(body, codePages.Encode(u"name=")),
        m_fileName(body, codePages.Encode(u"filename=")),
        m_contentType(body, codePages.Encode(u"Content-Type:")),
        m_endOfName(body, {kQuote}),
        m_endOfFileName(body, {kQuote}),
        m_endOfDisposition(body, {kCR}),
        m_endOfType(body, {kCR}) {}

  std::shared_ptr<Collection> Run() {
    auto fields = std::make_shared<Collection>();
    Long partStart = 1;
    for (Long next = m_nextBoundary.From(2); next != 0; next = m_nextBoundary.From(partStart + 1)) {
      ReadPart(partStart, *fields);
      partStart = next;
    }
    return fields;
  }

 private:
  void ReadPart(Long partStart, Collection& fields) {
    const Long name = m_name.From(m_disposition.From(partStart));
    const Long nameStart = name + 6;  // past the word and the quotation mark
    const Long nameEnd = m_endOfName.From(nameStart);
    const String key = ToLower(TextOf(nameStart, nameEnd - nameStart));
    const Long fileName = m_fileName.From(partStart);
    const Long partEnd = BoundaryFrom(nameEnd, m_boundaryBehindName);
    const bool isFile = fileName != 0 && fileName < partEnd;
    fields.Add(isFile ? ReadFile(fileName) : ReadPlain(name), key);
  }

  Long BoundaryFrom(Long from, ByteSearch& search) {
    return m_nextBoundary.Knows(from) ? m_nextBoundary.From(from) : search.From(from);
  }

  ObjectPtr ReadPlain(Long name) {
    auto field = std::make_shared<Collection>();
    const Long start = m_endOfDisposition.From(name) + 4;  // past the line's end and the empty line
    const Long end = BoundaryFrom(start, m_boundaryBehindValue) - 2;
    field->Add(TextOf(start, end - start), u"Value");
    return field;
  }

  // The word "Content-Type:" stands in the last header line of a file's part.
  ObjectPtr ReadFile(Long fileName) {
    auto field = std::make_shared<Collection>();
    const Long nameStart = fileName + 10;  // past the word and the quotation mark
    const Long nameEnd = m_endOfFileName.From(nameStart);
    field->Add(TextOf(nameStart, nameEnd - nameStart), u"Value");
    const Long typeStart = m_contentType.From(nameEnd) + 14;  // past the word and a blank
    const Long typeEnd = m_endOfType.From(typeStart);
    field->Add(TextOf(typeStart, typeEnd - typeStart), u"ContentType");
    const Long start = typeEnd + 4;
    const Long end = BoundaryFrom(start, m_boundaryBehindData) - 2;
    const auto data = BytesOf(start, end - start);
    field->Add(std::make_shared<const Bytes>(data.begin(), data.end()), u"Content");
    return field;
  }

  String TextOf(Long start, Long length) { return m_codePages.Decode(BytesOf(start, length), m_lcid); }

  // The bytes that there are of these.
  std::span<const Byte> BytesOf(Long start, Long length) {
    if (length < 0) RaiseRuntimeError(runtime_error::kInvalidArgument, u"a part without an end");
    const auto from = std::min(static_cast<std::size_t>(start - 1), m_body.size());
    const auto bytes = m_body.subspan(from, std::min(static_cast<std::size_t>(length), m_body.size() - from));
    m_copied += static_cast<std::int64_t>(bytes.size());
    if (m_copied > kMostCopiesOfTheBody * static_cast<std::int64_t>(m_body.size())) {
      RaiseRuntimeError(runtime_error::kOutOfMemory, u"the parts of the body overlap");
    }
    return bytes;
  }

  std::span<const Byte> m_body;
  Long m_lcid;
  host::ICodePages& m_codePages;
  std::int64_t m_copied = 0;
  ByteSearch m_nextBoundary;
  ByteSearch m_boundaryBehindName;
  ByteSearch m_boundaryBehindValue;
  ByteSearch m_boundaryBehindData;
  ByteSearch m_disposition;
  ByteSearch m_name;
  ByteSearch m_fileName;
  ByteSearch m_contentType;
  ByteSearch m_endOfName;
  ByteSearch m_endOfFileName;
  ByteSearch m_endOfDisposition;
  ByteSearch m_endOfType;
};

}  // namespace

std::shared_ptr<Collection> ParseMultipart(std::span<const Byte> body, Long lcid,
                                           host::ICodePages& codePages) {
  const auto lineEnd = std::find(body.begin(), body.end(), kCR);
  if (lineEnd == body.end() || lineEnd == body.begin()) return std::make_shared<Collection>();
  return MultipartScan(body, Bytes(body.begin(), lineEnd), lcid, codePages).Run();
}

}  // namespace varnel
