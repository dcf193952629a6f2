"""The library's classes in Python: objects with their methods and properties, through libvarnel-component.so.

    library = Library("build/release/libvarnel-component.so")
    with library.request("/list", "R_1=...") as request:
        page = library.create("Varnel.Page")
    print(request.page)
"""
import ctypes
import datetime


class _Of(ctypes.Union):
    pass


class Value(ctypes.Structure):
    pass


_Of._fields_ = [("number", ctypes.c_int32), ("real", ctypes.c_double), ("object", ctypes.c_uint64),
                ("text", ctypes.c_void_p), ("items", ctypes.POINTER(Value))]
Value._fields_ = [("type", ctypes.c_int32), ("owned", ctypes.c_int32), ("of", _Of), ("size", ctypes.c_size_t),
                  ("first", ctypes.c_int32), ("reserved", ctypes.c_int32)]


class _ErrorRecord(ctypes.Structure):
    _fields_ = [("number", ctypes.c_int32), ("source", ctypes.c_char_p), ("description", ctypes.c_char_p),
                ("help_file", ctypes.c_char_p), ("help_context", ctypes.c_int32)]


(EMPTY, NULL, MISSING, BOOLEAN, BYTE, INTEGER, LONG, DOUBLE, DATE, TEXT, OBJECT, ARRAY, BYTES) = range(13)
_DAY_ZERO = datetime.datetime(1899, 12, 30)

Missing = object()  # an argument that is left out


class Error(Exception):
    """What an operation raised."""

    def __init__(self, record):
        self.number = record.number
        self.source = record.source.decode()
        self.description = record.description.decode()
        super().__init__(f"{self.number}: {self.description}")


class ByRef:
    """An argument whose result is wanted: `value` is what the operation has made of it."""

    def __init__(self, value):
        self.value = value


class Library:
    def __init__(self, path):
        self.c = ctypes.CDLL(path)
        self.c.varnel_last_error.restype = ctypes.POINTER(_ErrorRecord)
        handle, text, size = ctypes.c_uint64, ctypes.c_char_p, ctypes.c_size_t
        values = ctypes.POINTER(Value)
        for name, arguments in {
                "varnel_create": [text, ctypes.POINTER(handle)],
                "varnel_call_named": [handle, text, values, size, ctypes.POINTER(text), size, values],
                "varnel_call": [handle, text, values, size, values],
                "varnel_call_default": [handle, values, size, values],
                "varnel_get": [handle, text, values],
                "varnel_put": [handle, text, values],
                "varnel_elements": [handle, ctypes.POINTER(handle)],
                "varnel_next": [handle, values, ctypes.POINTER(ctypes.c_int32)],
                "varnel_request_begin": [text, text, text, text, size, text],
                "varnel_request_end": [values],
                "varnel_application_set": [text, values],
                "varnel_application_messages": [text],
                "varnel_release": [handle], "varnel_clear": [values]}.items():
            getattr(self.c, name).argtypes = arguments

    def check(self, number):
        if number != 0:
            raise Error(self.c.varnel_last_error().contents)

    def create(self, name):
        handle = ctypes.c_uint64()
        self.check(self.c.varnel_create(name.encode(), ctypes.byref(handle)))
        return Object(self, handle.value)

    def set_application(self, key, value):
        self.check(self.c.varnel_application_set(key.encode(), ctypes.byref(_Given(value).value)))

    def load_messages(self, folder):
        self.check(self.c.varnel_application_messages(str(folder).encode()))

    def request(self, path, query="", method="GET", body=b"", content_type=None):
        return Request(self, path, query, method, body, content_type)

    def take(self, value):
        """A value of the library as one of Python's; what the library made for it is freed."""
        result = self._read(value)
        self.c.varnel_clear(ctypes.byref(value))
        return result

    def _read(self, value):
        kind, of = value.type, value.of
        if kind in (EMPTY, NULL, MISSING):
            return None
        if kind == BOOLEAN:
            return of.number != 0
        if kind in (BYTE, INTEGER, LONG):
            return of.number
        if kind == DOUBLE:
            return of.real
        if kind == DATE:
            days = int(of.real)
            return _DAY_ZERO + datetime.timedelta(days=days, seconds=round(abs(of.real - days) * 86400))
        if kind == TEXT:
            return ctypes.string_at(of.text, value.size).decode()
        if kind == BYTES:
            return ctypes.string_at(of.text, value.size)
        if kind == ARRAY:
            return [self._read(of.items[i]) for i in range(value.size)]
        if of.object == 0:
            return None
        handle = of.object
        value.owned = 0  # the handle is ours now
        return Object(self, handle)


class _Given:
    """A value of Python's as an argument, with the memory that it lies in."""

    def __init__(self, given):
        self.value = value = Value()
        if isinstance(given, ByRef):
            given = given.value
        if given is Missing:
            value.type = MISSING
        elif given is None:
            value.type = NULL
        elif isinstance(given, bool):
            value.type, value.of.number = BOOLEAN, int(given)
        elif isinstance(given, int):
            value.type, value.of.number = LONG, given
        elif isinstance(given, float):
            value.type, value.of.real = DOUBLE, given
        elif isinstance(given, datetime.datetime):
            value.type, value.of.real = DATE, (given - _DAY_ZERO) / datetime.timedelta(days=1)
        elif isinstance(given, Object):
            value.type, value.of.object = OBJECT, given.handle
        elif isinstance(given, (str, bytes)):
            self.memory = given.encode() if isinstance(given, str) else given
            value.type = TEXT if isinstance(given, str) else BYTES
            value.of.text = ctypes.cast(ctypes.c_char_p(self.memory), ctypes.c_void_p).value
            value.size = len(self.memory)
        elif isinstance(given, (list, tuple)):
            self.memory = [_Given(item) for item in given]
            self.items = (Value * len(given))(*[item.value for item in self.memory])
            value.type, value.of.items, value.size = ARRAY, self.items, len(given)
        else:
            raise TypeError(f"no value of the library: {given!r}")


class Object:
    def __init__(self, library, handle):
        self.__dict__.update(library=library, handle=handle)

    def __del__(self):
        self.library.c.varnel_release(self.handle)

    def call(self, name, *arguments, **named):
        """Calls a method; arguments may be given by the names of the interface."""
        everything = list(arguments) + list(named.values())
        given = [_Given(argument) for argument in everything]
        values = (Value * len(given))(*[one.value for one in given])
        names = (ctypes.c_char_p * len(named))(*[key.encode() for key in named])
        result = Value()
        if named:
            number = self.library.c.varnel_call_named(self.handle, name.encode(), values, len(given), names, len(named),
                                                      ctypes.byref(result))
        else:
            number = self.library.c.varnel_call(self.handle, name.encode(), values, len(given), ctypes.byref(result))
        for value, argument in zip(values, everything):
            if isinstance(argument, ByRef) and value.owned:
                argument.value = self.library.take(value)
            elif isinstance(argument, ByRef) and value.type in (BOOLEAN, BYTE, INTEGER, LONG, DOUBLE):
                argument.value = self.library.take(value)
            else:
                self.library.c.varnel_clear(ctypes.byref(value))
        self.library.check(number)
        return self.library.take(result)

    def get(self, name):
        result = Value()
        self.library.check(self.library.c.varnel_get(self.handle, name.encode(), ctypes.byref(result)))
        return self.library.take(result)

    def __setattr__(self, name, value):
        given = _Given(value)
        self.library.check(self.library.c.varnel_put(self.handle, name.encode(), ctypes.byref(given.value)))

    def __getattr__(self, name):
        return lambda *arguments, **named: self.call(name, *arguments, **named)

    def __call__(self, *arguments):
        given = [_Given(argument) for argument in arguments]
        values = (Value * len(given))(*[one.value for one in given])
        result = Value()
        self.library.check(self.library.c.varnel_call_default(self.handle, values, len(given), ctypes.byref(result)))
        return self.library.take(result)

    def __iter__(self):
        handle = ctypes.c_uint64()
        self.library.check(self.library.c.varnel_elements(self.handle, ctypes.byref(handle)))
        walk = Object(self.library, handle.value)
        while True:
            element, found = Value(), ctypes.c_int32()
            self.library.check(self.library.c.varnel_next(walk.handle, ctypes.byref(element), ctypes.byref(found)))
            if not found.value:
                return
            yield self.library.take(element)


class Request:
    """A request on this thread; `page` is what was written, behind its end."""

    def __init__(self, library, path, query, method, body, content_type):
        self.library = library
        self.given = (method.encode(), path.encode(), query.encode(), body, len(body),
                      content_type.encode() if content_type else None)
        self.page = None

    def __enter__(self):
        self.library.check(self.library.c.varnel_request_begin(*self.given))
        return self

    def __exit__(self, *_):
        written = Value()
        self.library.check(self.library.c.varnel_request_end(ctypes.byref(written)))
        self.page = self.library.take(written)
