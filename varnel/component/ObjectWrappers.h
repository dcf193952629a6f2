// Objects of the library as other programs hold them, by IDispatch, and back.
//
// An object has one wrapper while anybody holds it, so that who compares two references compares two objects. Calls on a
// wrapper that was released fail with RPC_E_DISCONNECTED: its memory is kept for the next object, never freed.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/component/ComPointer.h"

namespace varnel::com {

// `object` isn't Nothing. One that came from outside is what it came as. Raises 7.
ComPointer<IDispatch> WrapObject(const ObjectPtr& object);

// The object behind `dispatch`: ours itself, Nothing for null, and for any other what `SetForeignObjects` says.
ObjectPtr UnwrapObject(IDispatch* dispatch);

// How objects from outside are seen by the library; ForeignObject.h where nobody says so. For a host, before the first
// call.
using ForeignFactory = ObjectPtr (*)(ComPointer<IDispatch> object);
void SetForeignObjects(ForeignFactory factory);

// What keeps the library loaded: wrappers that somebody holds, and whatever else counts itself.
class LiveCount {
 public:
  LiveCount();
  ~LiveCount();
  LiveCount(const LiveCount&) = delete;
  LiveCount& operator=(const LiveCount&) = delete;
  static std::int64_t Now();
  static void Add(std::int64_t change);
};

}  // namespace varnel::com
