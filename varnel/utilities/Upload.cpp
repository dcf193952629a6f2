#include "varnel/utilities/Upload.h"

#include "varnel/automation/Members.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Lib_ErrorHandling.h"
#include "varnel/page/Utillities.h"
#include "varnel/utilities/ClientPath.h"
#include "varnel/utilities/Multipart.h"

namespace varnel {

namespace {

constexpr Long kNoContent = static_cast<Long>(0x80040001);
constexpr StringView kMultipart = u"multipart/form-data";

// What `lookUp` gives; an empty result where it fails in any way.
template <typename F>
auto OrEmpty(F&& lookUp) -> decltype(lookUp()) {
  try {
    return lookUp();
  } catch (const std::exception&) {
    return {};
  }
}

BytesPtr NoBytes() { return std::make_shared<const Bytes>(); }

String FromUtf16(const Bytes& bytes) {
  String text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
    text += static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
  }
  return text;
}

String DecodeFile(const Bytes& bytes) {
  if (bytes.size() >= 2 && bytes[0] == 255 && bytes[1] == 254) return FromUtf16(bytes);
  return host::Platform().CodePages().Decode(bytes, 0);
}

}  // namespace

const ClassInfo& Upload::Class() const {
  static const ClassInfo info{
      u"Upload",
      {
          Method<&Upload::GetFileBinary>(u"GetFileBinary").Taking(u"i_sVarName"),
          Method<&Upload::GetFileAsString>(u"GetFileAsString").Taking(u"i_sVarName"),
          Method<&Upload::WriteFileToFileSystem>(u"WriteFileToFileSystem").Taking(u"i_sVarName, i_sPath"),
          Method<&Upload::GetFileContentType>(u"GetFileContentType").Taking(u"i_sVarName"),
          Method<&Upload::GetFormVar>(u"GetFormVar").Taking(u"i_sVarName"),
      }};
  return info;
}

ObjectPtr MakeUpload() { return std::make_shared<Upload>(); }

void Upload::Activate() {
  try {
    Bind();
  } catch (...) {
    Err_ReportAndRaise(u"Varnel.Upload.IObjectControl_Activate");
  }
}

void Upload::Bind() {
  const auto context = host::GetObjectContext();
  if (context == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet, u"there is no object context");
  m_Request = host::RequiredIntrinsic<host::IRequest>(*context, u"Request");
  m_Session = host::RequiredIntrinsic<host::ISession>(*context, u"Session");
  m_bIsMultipart = ToText(m_Request->ServerVariables().Value(u"HTTP_CONTENT_TYPE")).starts_with(kMultipart);
}

void Upload::Deactivate() {
  m_Request = nullptr;
  m_Fields = nullptr;
}

host::IRequest& Upload::Request() const {
  if (m_Request == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  return *m_Request;
}

void Upload::EnsureParsed() {
  if (m_Fields != nullptr) return;
  host::IRequest& request = Request();
  const Bytes body = request.BinaryRead(request.TotalBytes());
  m_Fields = ParseMultipart(body, m_Session->LCID(), host::Platform().CodePages());
}

// Raises where there is no such field or item.
Variant Upload::Item(const Variant& iField, StringView iItem) const {
  const auto field = CastObject<Collection>(m_Fields->Item(ToPlain(iField)));
  return field->Item(iItem);
}

String Upload::TextItem(const String& iField, StringView iItem) {
  return OrEmpty([&] { return ToText(Item(iField, iItem)); });
}

BytesPtr Upload::GetFileBinary(const Variant& i_sVarName) {
  if (!m_bIsMultipart) return NoBytes();
  EnsureParsed();
  const auto content = OrEmpty([&] { return *Item(i_sVarName, u"Content").As<BytesPtr>(); });
  return content == nullptr ? NoBytes() : content;
}

String Upload::GetFileAsString(const String& i_sVarName) {
  if (!m_bIsMultipart) return {};
  EnsureParsed();
  return OrEmpty([&] { return DecodeFile(**Item(i_sVarName, u"Content").As<BytesPtr>()); });
}

String Upload::GetFileContentType(const String& i_sVarName) {
  if (!m_bIsMultipart) return {};
  EnsureParsed();
  return TextItem(i_sVarName, u"ContentType");
}

String Upload::GetFormVar(const String& i_sVarName) {
  if (!m_bIsMultipart) return OrEmpty([&] { return ToText(Request().Form().Value(i_sVarName)); });
  EnsureParsed();
  return TextItem(i_sVarName, u"Value");
}

void Upload::WriteFileToFileSystem(const String& i_sVarName, const String& i_sPath) {
  if (!m_bIsMultipart) return;
  try {
    WriteFile(i_sVarName, i_sPath);
  } catch (...) {
    Err_ReportAndRaise(u"Varnel.Upload.WriteFileToFileSystem");
  }
}

void Upload::WriteFile(const String& iField, const String& iFolder) {
  const BytesPtr data = GetFileBinary(iField);
  if (data->empty()) {
    Util_Raise(kNoContent, u"Varnel.Upload.WriteFileToFileSystem",
               u"Source file is zero length or non-existent", u"", 0);
  }
  host::IFileSystem& files = host::Platform().FileSystem();
  if (!files.FolderExists(iFolder)) files.CreateFolder(iFolder);
  const String sent = GetFormVar(iField);
  String target = BaseName(sent);
  const String extension = Extension(sent);
  if (!Trim(extension).empty()) target += u"." + extension;
  files.WriteFile(files.Join(iFolder, target), *data);
}

}  // namespace varnel
