#include "host-linux/script/ScriptErrors.h"

#include <string>
#include <tuple>

#include "host-linux/base/NearestName.h"

namespace hostlinux {
namespace {

constexpr varnel::StringView kScriptSource = u"Script";

v8::Local<v8::Value> Property(v8::Local<v8::Context> context, v8::Local<v8::Value> value, const char* name) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Value> result;
  if (!value->IsObject() || value->IsProxy() || Wrappers::IsWrapper(value) ||
      !value.As<v8::Object>()->Get(context, Name(isolate, name)).ToLocal(&result))
    return v8::Undefined(isolate);
  return result;
}

varnel::String TextOf(v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  v8::Local<v8::String> text;
  if (value.IsEmpty() || !value->ToString(context).ToLocal(&text)) return {};
  return ToText(context->GetIsolate(), text);
}

varnel::String TextProperty(v8::Local<v8::Context> context, v8::Local<v8::Value> value, const char* name) {
  const v8::Local<v8::Value> property = Property(context, value, name);
  return property->IsString() ? ToText(context->GetIsolate(), property.As<v8::String>()) : varnel::String();
}

varnel::Long NumberProperty(v8::Local<v8::Context> context, v8::Local<v8::Value> value, const char* name) {
  const v8::Local<v8::Value> property = Property(context, value, name);
  return property->IsNumber() ? property->Int32Value(context).FromMaybe(0) : 0;
}

bool IsSyntaxError(v8::Local<v8::Context> context, v8::Local<v8::Value> exception) {
  return TextProperty(context, exception, "name") == u"SyntaxError";
}

// The message alone where the error's name says nothing: "ReferenceError: x is not defined", but "no stock".
varnel::String Describe(v8::Local<v8::Context> context, v8::Local<v8::Value> exception, bool numbered) {
  const varnel::String message = TextProperty(context, exception, "message");
  const bool unnamed = numbered || TextProperty(context, exception, "name") == u"Error";
  return unnamed && !message.empty() ? message : TextOf(context, exception);
}

varnel::ErrInfo ReadError(v8::Local<v8::Context> context, v8::Local<v8::Value> exception) {
  varnel::ErrInfo info;
  info.Number = NumberProperty(context, exception, "number");
  info.Source = TextProperty(context, exception, "source");
  info.Description = TextProperty(context, exception, "description");
  info.HelpFile = TextProperty(context, exception, "helpFile");
  info.HelpContext = NumberProperty(context, exception, "helpContext");
  const bool own = info.Number != 0;
  if (!own) info.Number = IsSyntaxError(context, exception) ? kSyntaxNumber : kUncaughtNumber;
  if (info.Source.empty() && !own) info.Source = kScriptSource;
  if (info.Description.empty()) info.Description = Describe(context, exception, own);
  return info;
}

// The innermost place of `message` that lies in a page.
PagePosition PositionOf(ScriptCore& core, v8::Local<v8::Context> context, v8::Local<v8::Message> message) {
  v8::Isolate* isolate = core.Isolate();
  const auto locate = [&](v8::Local<v8::Value> script, int line) {
    if (script.IsEmpty() || !script->IsString()) return PagePosition();
    return core.Pages().Locate(ToUtf8(isolate, script.As<v8::String>()), line);
  };
  PagePosition place = locate(message->GetScriptResourceName(), message->GetLineNumber(context).FromMaybe(0));
  if (!place.file.empty() || message->GetStackTrace().IsEmpty()) return place;
  const v8::Local<v8::StackTrace> trace = message->GetStackTrace();
  for (int i = 0; i < trace->GetFrameCount() && place.file.empty(); ++i) {
    const v8::Local<v8::StackFrame> frame = trace->GetFrame(isolate, static_cast<std::uint32_t>(i));
    place = locate(frame->GetScriptName(), frame->GetLineNumber());
  }
  return place;
}

v8::Local<v8::Private> HintKey(v8::Isolate* isolate) {
  return v8::Private::ForApi(isolate, Name(isolate, "varnel:hint"));
}

// What the host has to say beside the error.
std::string HintIn(v8::Local<v8::Context> context, v8::Local<v8::Value> exception) {
  v8::Local<v8::Value> hint;
  if (!exception->IsObject() || exception->IsProxy() ||
      !exception.As<v8::Object>()->GetPrivate(context, HintKey(context->GetIsolate())).ToLocal(&hint) ||
      !hint->IsString())
    return {};
  return ToUtf8(context->GetIsolate(), hint.As<v8::String>());
}

// "reqest is not defined" is a slip in one of the names that a page has.
std::string HintOfName(ScriptCore& core, std::string_view message) {
  constexpr std::string_view kBegin = "ReferenceError: ";
  constexpr std::string_view kEnd = " is not defined";
  if (!message.starts_with(kBegin) || !message.ends_with(kEnd)) return {};
  const std::string_view name = message.substr(kBegin.size(), message.size() - kBegin.size() - kEnd.size());
  const varnel::String sentence = DidYouMean(varnel::FromUtf8(name), core.GlobalNames());
  return sentence.empty() ? std::string() : varnel::ToUtf8(sentence.substr(1));
}

// The text that the engine itself has of an error: with the stack used up, the error's own can't be asked
// for.
std::string EngineText(v8::Isolate* isolate, v8::Local<v8::Message> message) {
  constexpr std::string_view kPrefix = "Uncaught ";
  std::string text = ToUtf8(isolate, message->Get());
  return text.starts_with(kPrefix) ? text.substr(kPrefix.size()) : text;
}

v8::Local<v8::Value> CallSite(v8::Local<v8::Context> context, v8::Local<v8::Object> site,
                              const char* method) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Value> function;
  v8::Local<v8::Value> result;
  if (!site->Get(context, Name(isolate, method)).ToLocal(&function) || !function->IsFunction() ||
      !function.As<v8::Function>()->Call(context, site, 0, nullptr).ToLocal(&result))
    return v8::Undefined(isolate);
  return result;
}

// One line of a stack; nothing for a place outside the pages.
std::string FrameText(ScriptCore& core, v8::Local<v8::Context> context, v8::Local<v8::Object> site) {
  v8::Isolate* isolate = context->GetIsolate();
  const v8::Local<v8::Value> script = CallSite(context, site, "getFileName");
  const v8::Local<v8::Value> line = CallSite(context, site, "getLineNumber");
  if (!script->IsString() || !line->IsInt32()) return {};
  const PagePosition place =
      core.Pages().Locate(ToUtf8(isolate, script.As<v8::String>()), line.As<v8::Int32>()->Value());
  if (place.file.empty()) return {};
  const std::string position = place.file + ":" + std::to_string(place.line);
  const v8::Local<v8::Value> function = CallSite(context, site, "getFunctionName");
  if (!function->IsString() || function.As<v8::String>()->Length() == 0) return "\n    at " + position;
  return "\n    at " + ToUtf8(isolate, function.As<v8::String>()) + " (" + position + ")";
}

v8::MaybeLocal<v8::String> StackText(v8::Local<v8::Context> context, v8::Local<v8::Value> error,
                                     v8::Local<v8::Array> sites) {
  v8::Isolate* isolate = context->GetIsolate();
  ScriptCore& core = ScriptCore::Of(isolate);
  v8::Local<v8::String> head;
  if (!error->ToString(context).ToLocal(&head)) return {};
  std::string text = ToUtf8(isolate, head);
  for (std::uint32_t i = 0; i < sites->Length(); ++i) {
    v8::Local<v8::Value> site;
    if (!sites->Get(context, i).ToLocal(&site)) return {};
    if (site->IsObject()) text += FrameText(core, context, site.As<v8::Object>());
  }
  return ToV8(isolate, text);
}

}  // namespace

void ThrowError(v8::Isolate* isolate, const varnel::ErrInfo& info, const varnel::String& hint) {
  const v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const auto text = [&](const varnel::String& value) {
    return ToV8(isolate, varnel::StringView(value)).FromMaybe(v8::String::Empty(isolate));
  };
  const v8::Local<v8::Object> error = v8::Exception::Error(text(info.Description)).As<v8::Object>();
  const auto set = [&](const char* name, v8::Local<v8::Value> value) {
    std::ignore = error->DefineOwnProperty(context, Name(isolate, name), value);
  };
  set("number", v8::Integer::New(isolate, info.Number));
  set("source", text(info.Source));
  set("description", text(info.Description));
  set("helpFile", text(info.HelpFile));
  set("helpContext", v8::Integer::New(isolate, info.HelpContext));
  if (!hint.empty()) std::ignore = error->SetPrivate(context, HintKey(isolate), text(hint));
  isolate->ThrowException(error);
}

varnel::ErrInfo StoppedError() {
  varnel::ErrInfo info;
  info.Number = kUncaughtNumber;
  info.Source = kScriptSource;
  info.Description = u"The page is being stopped";
  return info;
}

varnel::ErrInfo ErrorOf(ScriptCore& core, const v8::TryCatch& trap) {
  if (trap.HasTerminated() || trap.Exception().IsEmpty() || core.Stopping()) return StoppedError();
  const v8::TryCatch inner(core.Isolate());  // a property may be a getter that throws
  return ReadError(core.Isolate()->GetCurrentContext(), trap.Exception());
}

ScriptFailure FailureOf(ScriptCore& core, v8::Local<v8::Value> exception, v8::Local<v8::Message> message) {
  v8::Isolate* isolate = core.Isolate();
  const v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const v8::TryCatch inner(isolate);
  const varnel::ErrInfo info = ReadError(context, exception);
  ScriptFailure failure;
  failure.number = info.Number;
  failure.source = varnel::ToUtf8(info.Source);
  failure.description = varnel::ToUtf8(info.Description);
  if (failure.description.empty() && !message.IsEmpty()) failure.description = EngineText(isolate, message);
  failure.message = failure.description;
  failure.stack = varnel::ToUtf8(TextProperty(context, exception, "stack"));
  failure.hint = HintIn(context, exception);
  if (failure.hint.empty()) failure.hint = HintOfName(core, failure.message);
  if (message.IsEmpty()) return failure;
  const PagePosition place = PositionOf(core, context, message);
  failure.file = place.file;
  failure.line = place.line;
  return failure;
}

ScriptFailure CompilerFailureOf(ScriptCore& core, v8::Local<v8::Value> exception,
                                v8::Local<v8::Message> message) {
  ScriptFailure failure = FailureOf(core, exception, message);
  // A text without its second quote makes a riddle of all brackets behind it.
  if (failure.message.find("Invalid or unexpected token") != std::string::npos) return failure;
  const auto bracket = core.Pages().BracketFaultOfFailed();
  if (!bracket) return failure;
  failure.hint = bracket->sentence;
  // The end of the page is no place to look at where an include has the bracket.
  if (failure.message.ends_with("Unexpected end of input") && failure.file != bracket->place.file) {
    failure.file = bracket->place.file;
    failure.line = bracket->place.line;
  }
  return failure;
}

ScriptFailure FailureOf(const PageError& error) {
  ScriptFailure failure;
  failure.message = failure.description = error.what();
  failure.file = error.File();
  failure.line = error.Line();
  failure.number = kSyntaxNumber;
  failure.source = varnel::ToUtf8(kScriptSource);
  return failure;
}

// The engine dies of a callback that gives nothing without an exception of its own, and near the stack's end
// each step may fail: without its text the stack is empty. A termination goes on behind the trap.
v8::MaybeLocal<v8::Value> PrepareStack(v8::Local<v8::Context> context, v8::Local<v8::Value> error,
                                       v8::Local<v8::Array> sites) {
  v8::Isolate* isolate = context->GetIsolate();
  const v8::TryCatch trap(isolate);
  const v8::Local<v8::String> stack = StackText(context, error, sites).FromMaybe(v8::String::Empty(isolate));
  if (trap.HasTerminated()) isolate->TerminateExecution();
  return stack;
}

}  // namespace hostlinux
