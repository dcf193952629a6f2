/*
 * The library's classes for programs in any language: made by their names, called by the names of their members.
 *
 *   varnel_object page, grid;
 *   varnel_value result;
 *   varnel_request_begin("GET", "/list", "R_1=...", NULL, 0, NULL);
 *   varnel_create("Varnel.Page", &page);
 *   varnel_call(page, "SetEndUserStyle", NULL, 0, &result);
 *   varnel_release(page);
 *   varnel_request_end(&result);   -- what the page has written
 *   varnel_clear(&result);
 *
 * All texts are UTF-8. Every function that gives an int32_t gives 0, or the number of the error that varnel_last_error
 * tells on the same thread. An object belongs to the thread that made it: on another one its handle names nothing.
 * Numbers of errors are those of the components; of this interface itself come 5 (a missing argument, or a text that is
 * no UTF-8), 13 (a value of no type), 424 (a handle that names no object: never made, released, or of another thread),
 * 429 (no such class), and what calls raise: 438 (no such member), 450 (a wrong number of arguments).
 *
 * The library also exports DllGetClassObject and its three companions, with the binary interface of Automation, and the
 * functions by which its callers make and free texts, values and arrays (SysAllocStringLen and so on).
 */
#ifndef VARNEL_COMPONENT_H
#define VARNEL_COMPONENT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* C's way of naming. NOLINTBEGIN(readability-identifier-naming) */

/* An object, or 0 for Nothing. Handles are never used twice. */
typedef uint64_t varnel_object;

/* What a value is. */
enum {
  VARNEL_EMPTY = 0,
  VARNEL_NULL = 1,
  VARNEL_MISSING = 2, /* a left-out argument */
  VARNEL_BOOLEAN = 3, /* number: 0 or not 0 */
  VARNEL_BYTE = 4,    /* number: 0 to 255 */
  VARNEL_INTEGER = 5, /* number: 16 bits */
  VARNEL_LONG = 6,    /* number: 32 bits */
  VARNEL_DOUBLE = 7,  /* real */
  VARNEL_DATE = 8,    /* real: days since 30 December 1899, the time as their fraction */
  VARNEL_TEXT = 9,    /* text, size bytes; what the library gives has a NUL behind it */
  VARNEL_OBJECT = 10, /* object */
  VARNEL_ARRAY = 11,  /* items, size of them; the first one's position is first */
  VARNEL_BYTES = 12   /* bytes, size of them */
};

/* 40 bytes on machines of 64 bits. */
typedef struct varnel_value {
  int32_t type;
  int32_t
      owned; /* the library made what this holds: varnel_clear frees it. 0 in values of the caller's own */
  union {
    int32_t number;
    double real;
    varnel_object object;
    const char* text;
    const uint8_t* bytes;
    struct varnel_value* items;
  } of;
  size_t size;
  int32_t first;
  int32_t reserved;
} varnel_value;

/* Texts live until the thread's next call. */
typedef struct varnel_error {
  int32_t number;
  const char* source;
  const char* description;
  const char* help_file;
  int32_t help_context;
} varnel_error;

/* The error of this thread's last call that failed; number 0 if none has failed yet. Never null. */
const varnel_error* varnel_last_error(void);

/* A new object of a class, such as "Varnel.DRecordset" or "ADODB.Connection", in any case of letters. In a request it is
 * made in its context. "Varnel.Page" and most other classes need a request: 91 without one. */
int32_t varnel_create(const char* class_name, varnel_object* object);

/* Calls a method, or reads a property that takes arguments. What the method changes of its arguments stands in `values`
 * then: the element becomes a new value, owned by the library, in place of the caller's. `result` may be null. */
int32_t varnel_call(varnel_object object, const char* member, varnel_value* values, size_t count,
                    varnel_value* result);
/* The same with the last `named` values at the parameters of these names, in any order. 448 for a name that isn't one. */
int32_t varnel_call_named(varnel_object object, const char* member, varnel_value* values, size_t count,
                          const char* const* names, size_t named, varnel_value* result);
/* Calls the default member: of a recordset, the field of a name. */
int32_t varnel_call_default(varnel_object object, varnel_value* values, size_t count, varnel_value* result);
int32_t varnel_get(varnel_object object, const char* property, varnel_value* result);
int32_t varnel_put(varnel_object object, const char* property, const varnel_value* value);

/* An enumeration of a collection's elements; 438 for an object that isn't one. Release it like any object. */
int32_t varnel_elements(varnel_object collection, varnel_object* elements);
/* The next element; `found` becomes 0, and `element` empty, behind the last one. */
int32_t varnel_next(varnel_object elements, varnel_value* element, int32_t* found);

/* The name of an object's class, as "DRecordset". */
int32_t varnel_class_name(varnel_object object, varnel_value* name);

/* Lets an object go. A handle that names nothing is let be. */
void varnel_release(varnel_object object);
/* Frees what the library made for a value, releases its object, and empties it. A value of the caller's own is emptied
 * only. */
void varnel_clear(varnel_value* value);

/* Begins a request on this thread: what pages see of the web. `path` is that of the page, as "/shop/list.asp"; links are
 * built from it. `query`, what stands behind the "?", `body` with its size, and `content_type` may be null. Raises 5
 * where a request is running already. */
int32_t varnel_request_begin(const char* method, const char* path, const char* query, const char* body,
                             size_t body_size, const char* content_type);
/* Ends it. `page` becomes the text that was written; it may be null. Objects of the request that are still held can only
 * be released from then on. Raises 5 where none is running. */
int32_t varnel_request_end(varnel_value* page);

/* A value of the application, for all threads: "Demo_ConnectionString" for page.OpenDatabaseConnection("Demo"). Values
 * without objects only, 13 otherwise. */
int32_t varnel_application_set(const char* key, const varnel_value* value);
/* The words of grids: a folder of files such as 1033.toml. 76 for a folder that isn't there. */
int32_t varnel_application_messages(const char* folder);

/* NOLINTEND(readability-identifier-naming) */

#ifdef __cplusplus
}
#endif

#endif
