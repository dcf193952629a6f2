// The fields and files of a multipart/form-data request, which the host's own form can't read.
#pragma once

#include <memory>

#include "varnel/automation/Collection.h"
#include "varnel/host/IObjectControl.h"
#include "varnel/host/Intrinsics.h"

namespace varnel {

// ProgID "Varnel.Upload". Names of fields ignore case. The body is read and split by the first operation
// (Multipart.h); what fails there is raised as it stands, and the next operation reads the body again. A
// name that isn't there, and a field that isn't a file where one is asked for, give an empty result. On a
// request that isn't multipart, files are empty and fields come from the host's form.
class Upload : public Object, public host::IObjectControl {
 public:
  const ClassInfo& Class() const override;

  // Binds the host's objects. A failure is reported and raised again.
  void Activate() override;
  // Lets go of the request and of what was read.
  void Deactivate() override;

  // The bytes of a file, by its field's name or by the position of the part, from 1.
  BytesPtr GetFileBinary(const Variant& i_sVarName);
  // The file as text: UTF-16 behind the mark 255 254, an odd last byte dropped; any other by the system's
  // code page.
  String GetFileAsString(const String& i_sVarName);
  // Writes the file into folder `i_sPath` under the last component of the name that the client sent, over the
  // beginning of a file that is there already. Makes the last level of the folder where it is missing. Does
  // nothing where the request isn't multipart. Every failure is reported and raised: 80040001 (hexadecimal)
  // for a file without content or a name without a file, and what the file system and the parser raise.
  void WriteFileToFileSystem(const String& i_sVarName, const String& i_sPath);
  // The content type that the client named.
  String GetFileContentType(const String& i_sVarName);
  // The value of a field; of a file the name that the client sent, which may hold a path.
  String GetFormVar(const String& i_sVarName);

 private:
  void Bind();
  host::IRequest& Request() const;
  void EnsureParsed();
  Variant Item(const Variant& iField, StringView iItem) const;
  String TextItem(const String& iField, StringView iItem);
  void WriteFile(const String& iField, const String& iFolder);

  std::shared_ptr<host::IRequest> m_Request;
  std::shared_ptr<host::ISession> m_Session;
  std::shared_ptr<Collection> m_Fields;  // null until a body was split
  bool m_bIsMultipart = false;
};

ObjectPtr MakeUpload();

}  // namespace varnel
