#include "host-linux/script/Realm.h"

#include <stdexcept>

#include "host-linux/script/V8Text.h"

namespace hostlinux {
namespace {

constexpr std::string_view kSeal = R"js(
'use strict';
for (const name of ['WeakRef', 'FinalizationRegistry', 'Atomics', 'SharedArrayBuffer', 'WebAssembly'])
  delete globalThis[name];
for (const name of Object.getOwnPropertyNames(RegExp))
  if (!['length', 'name', 'prototype'].includes(name)) delete RegExp[name];

// A single call on more elements than the heap could ever hold can't be stopped, and ends with the engine giving up.
// Such a call is refused with the error that the language has for it. By a proxy, a function stays in all else what
// it was, its text too.
const mostElements = 2 ** 25;
const {apply} = Reflect;
const {getOwnPropertyDescriptor, defineProperty} = Object;
const lengthOf = (thing) => {
  if (typeof thing === 'string') return thing.length;
  if (thing === null || typeof thing !== 'object') return 0;
  const length = getOwnPropertyDescriptor(thing, 'length');
  return length !== undefined && typeof length.value === 'number' ? length.value : 0;
};
function bound(holder, name, subject) {
  const descriptor = getOwnPropertyDescriptor(holder, name);
  descriptor.value = new Proxy(descriptor.value, {
    apply(target, self, given) {
      if (lengthOf(subject(self, given)) > mostElements) throw new RangeError('Invalid array length');
      return apply(target, self, given);
    }
  });
  defineProperty(holder, name, descriptor);
}
for (const name of ['fill', 'reverse', 'copyWithin', 'unshift', 'sort']) bound(Array.prototype, name, (self) => self);
for (const name of ['split', 'match', 'replace', 'replaceAll']) bound(String.prototype, name, (self) => self);
bound(Array, 'from', (self, given) => given[0]);
for (const name of ['keys', 'values', 'entries', 'getOwnPropertyNames', 'getOwnPropertyDescriptors'])
  bound(Object, name, (self, given) => given[0]);
bound(Reflect, 'ownKeys', (self, given) => given[0]);
bound(Object, 'assign', (self, given) => given[1]);

// Objects of the language that no global name leads to.
function* generator() {}
async function asynchronous() {}
async function* asyncGenerator() {}
const hidden = [generator, asynchronous, asyncGenerator, generator(), asyncGenerator(), [].values(),
                new Map().entries(), new Set().values(), ''[Symbol.iterator](), 'a'.matchAll(/a/g)]
    .map(Object.getPrototypeOf);
const segments = typeof Intl === 'object' && Intl.Segmenter ? new Intl.Segmenter().segment('a') : null;
if (segments) hidden.push(Object.getPrototypeOf(segments), Object.getPrototypeOf(segments[Symbol.iterator]()));

function collect() {
  const found = new Set();
  const waiting = [globalThis, ...hidden];
  while (waiting.length) {
    const thing = waiting.pop();
    const kind = typeof thing;
    if (thing === null || (kind !== 'object' && kind !== 'function') || found.has(thing)) continue;
    found.add(thing);
    waiting.push(Object.getPrototypeOf(thing));
    for (const key of Reflect.ownKeys(thing)) {
      const {value, get, set} = Object.getOwnPropertyDescriptor(thing, key);
      waiting.push(value, get, set);
    }
  }
  return found;
}

// An assignment to an object is refused where its prototype has the name as a frozen value. An accessor
// instead hands the value out, and puts an assigned one on the object itself.
function makeAssignable(prototype, key) {
  const {value, writable, configurable, enumerable} = Object.getOwnPropertyDescriptor(prototype, key) || {};
  if (!writable || !configurable) return;
  Object.defineProperty(prototype, key, {
    get() { return value; },
    set(assigned) {
      if (this === prototype) throw new TypeError(`Cannot assign to the shared property '${String(key)}'`);
      Object.defineProperty(this, key, {value: assigned, writable: true, enumerable: true, configurable: true});
    },
    enumerable, configurable: false
  });
}

const commonNames = ['constructor', 'toString', 'toLocaleString', 'valueOf', 'toJSON', 'name', 'message'];

// The engine takes its fast roads through arrays, promises and the like only while these have a plain
// constructor: with an accessor, map and slice take twenty times as long.
const withPlainConstructor = new Set([Array, Promise, RegExp, Object.getPrototypeOf(Uint8Array)].map(c => c.prototype));
const prototypes = new Set(hidden);
for (const thing of collect())
  if (typeof thing === 'function' && thing.prototype) prototypes.add(thing.prototype);
for (const prototype of prototypes)
  for (const name of commonNames)
    if (name !== 'constructor' || !withPlainConstructor.has(prototype)) makeAssignable(prototype, name);
for (const name of Object.getOwnPropertyNames(Object.prototype)) makeAssignable(Object.prototype, name);

for (const thing of collect()) Object.freeze(thing);
)js";

}  // namespace

v8::Local<v8::Value> RunSetup(v8::Local<v8::Context> context, std::string_view text, const char* scriptName,
                              const std::vector<std::pair<const char*, v8::Local<v8::Value>>>& arguments) {
  v8::Isolate* isolate = context->GetIsolate();
  const v8::TryCatch trap(isolate);
  std::vector<v8::Local<v8::String>> names;
  std::vector<v8::Local<v8::Value>> values;
  for (const auto& [name, value] : arguments) {
    names.push_back(Name(isolate, name));
    values.push_back(value);
  }
  v8::ScriptOrigin origin(isolate, Name(isolate, scriptName));
  v8::ScriptCompiler::Source source(Name(isolate, text), origin);
  v8::Local<v8::Function> function;
  v8::Local<v8::Value> result;
  const bool done =
      v8::ScriptCompiler::CompileFunctionInContext(context, &source, names.size(), names.data(), 0, nullptr)
          .ToLocal(&function) &&
      function->Call(context, v8::Undefined(isolate), static_cast<int>(values.size()), values.data())
          .ToLocal(&result);
  if (done) return result;
  const std::string reason = trap.Message().IsEmpty() ? "" : ToUtf8(isolate, trap.Message()->Get());
  throw std::logic_error("The script engine's realm could not be made: " + reason);
}

v8::Local<v8::Context> MakeRealm(v8::Isolate* isolate,
                                 const std::function<void(v8::Local<v8::Context>)>& populate) {
  v8::EscapableHandleScope handles(isolate);
  const v8::Local<v8::Context> context = v8::Context::New(isolate);
  const v8::Context::Scope scope(context);
  RunSetup(context, "delete globalThis.console;", "varnel:console");  // a host may have one of its own
  populate(context);
  RunSetup(context, kSeal, "varnel:seal");
  return handles.Escape(context);
}

}  // namespace hostlinux
