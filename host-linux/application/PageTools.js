'use strict';
// What pages find among the global names that browsers and other servers have too. Runs once for each engine,
// before its realm is sealed; `host` are functions of the server.

const {console: hostConsole, parseUrl, encodeUtf8, decodeUtf8, isUtf8, random, hash: hostHash, hmac: hostHmac,
       hashPassword, checkPassword, fetch: hostFetch} = host;
const define = (name, value) =>
  Object.defineProperty(globalThis, name, {value, writable: true, configurable: true, enumerable: false});
const text = value => {
  if (typeof value === 'symbol') throw new TypeError('Cannot convert a Symbol value to a string');
  return `${value}`;
};

// --- console

const mostShown = 10000;
function shown(value) {
  if (typeof value === 'string') return value;
  const seen = new Set();
  try {
    if (value instanceof Error) return value.stack || String(value);
    if (value instanceof Function) return 'function ' + value.name;
    // An object of the library is called like a function, and is its default value as a text.
    if (typeof value !== 'object' || value === null) return String(value);
    const json = JSON.stringify(value, (key, inner) => {
      if (typeof inner === 'bigint') return String(inner);
      if (typeof inner !== 'object' || inner === null) return inner;
      if (seen.has(inner)) return '(again)';
      seen.add(inner);
      return inner;
    });
    return json === undefined ? String(value) : json;
  } catch (error) {
    return '(an object that can\'t be shown)';
  }
}
function say(level) {
  return (...values) => {
    let line = '';
    for (const value of values) {
      line += (line === '' ? '' : ' ') + shown(value);
      if (line.length > mostShown) break;
    }
    hostConsole(level, line.slice(0, mostShown));
  };
}
define('console', {debug: say(0), log: say(1), info: say(1), warn: say(2), error: say(3)});

// --- URLs

// By way of the bytes, half characters become U+FFFD, which encodeURIComponent would refuse.
const encodedForForm = value => encodeURIComponent(decodeUtf8(encodeUtf8(text(value))))
  .replace(/[!'()~]/g, c => '%' + c.charCodeAt(0).toString(16).toUpperCase()).replace(/%20/g, '+');

const decodedOfForm = piece => {
  const bytes = [];
  const encoded = encodeUtf8(piece.replace(/\+/g, ' '));
  for (let i = 0; i < encoded.length; ++i) {
    const two = encoded[i] === 0x25 && i + 2 < encoded.length ? String.fromCharCode(encoded[i + 1], encoded[i + 2]) : '';
    if (/^[0-9a-fA-F]{2}$/.test(two)) { bytes.push(parseInt(two, 16)); i += 2; } else { bytes.push(encoded[i]); }
  }
  return decodeUtf8(new Uint8Array(bytes));
};

class URLSearchParams {
  #pairs = [];
  #changed = null;
  constructor(init = '') {
    if (init !== null && typeof init === 'object' && typeof init[Symbol.iterator] === 'function') {
      for (const pair of init) {
        const [name, value, ...more] = [...pair];
        if (value === undefined || more.length > 0) throw new TypeError('URLSearchParams takes pairs of a name and a value');
        this.#pairs.push([text(name), text(value)]);
      }
    } else if (init !== null && typeof init === 'object') {
      for (const name of Object.keys(init)) this.#pairs.push([name, text(init[name])]);
    } else {
      this.#read(text(init).replace(/^\?/, ''));
    }
  }
  static watched(query, changed) {
    const params = new URLSearchParams(query);
    params.#changed = changed;
    return params;
  }
  static replaced(params, query) { params.#pairs = []; params.#read(query.replace(/^\?/, '')); }
  #read(query) {
    for (const piece of query.split('&')) {
      if (piece === '') continue;
      const equals = piece.indexOf('=');
      const name = equals < 0 ? piece : piece.slice(0, equals);
      this.#pairs.push([decodedOfForm(name), equals < 0 ? '' : decodedOfForm(piece.slice(equals + 1))]);
    }
  }
  #tell() { if (this.#changed) this.#changed(this.toString()); }
  get size() { return this.#pairs.length; }
  append(name, value) { this.#pairs.push([text(name), text(value)]); this.#tell(); }
  delete(name, value) {
    this.#pairs = this.#pairs.filter(pair => pair[0] !== text(name) || (value !== undefined && pair[1] !== text(value)));
    this.#tell();
  }
  get(name) { const pair = this.#pairs.find(one => one[0] === text(name)); return pair === undefined ? null : pair[1]; }
  getAll(name) { return this.#pairs.filter(pair => pair[0] === text(name)).map(pair => pair[1]); }
  has(name, value) {
    return this.#pairs.some(pair => pair[0] === text(name) && (value === undefined || pair[1] === text(value)));
  }
  set(name, value) {
    const at = this.#pairs.findIndex(pair => pair[0] === text(name));
    if (at < 0) { this.append(name, value); return; }
    this.#pairs[at][1] = text(value);
    this.#pairs = this.#pairs.filter((pair, i) => i <= at || pair[0] !== text(name));
    this.#tell();
  }
  sort() { this.#pairs.sort((a, b) => a[0] < b[0] ? -1 : a[0] > b[0] ? 1 : 0); this.#tell(); }
  forEach(body, self) { for (const [name, value] of this.#pairs) body.call(self, value, name, this); }
  *entries() { for (const pair of this.#pairs) yield [...pair]; }
  *keys() { for (const pair of this.#pairs) yield pair[0]; }
  *values() { for (const pair of this.#pairs) yield pair[1]; }
  [Symbol.iterator]() { return this.entries(); }
  toString() { return this.#pairs.map(pair => encodedForForm(pair[0]) + '=' + encodedForForm(pair[1])).join('&'); }
}
const {watched, replaced} = URLSearchParams;
delete URLSearchParams.watched;
delete URLSearchParams.replaced;
define('URLSearchParams', URLSearchParams);

// The parts as the server's own library for addresses reads them, which `fetch` asks by too.
const partNames = ['href', 'protocol', 'username', 'password', 'hostname', 'port', 'pathname', 'search', 'hash'];
class URL {
  #parts;
  #params;
  constructor(address, base) {
    this.#take(parseUrl(text(address), base === undefined ? null : text(base)), text(address));
  }
  static canParse(address, base) { return parseUrl(text(address), base === undefined ? null : text(base)) !== null; }
  #take(parts, address) {
    if (parts === null) throw new TypeError('Invalid URL: ' + address);
    this.#parts = {};
    partNames.forEach((name, i) => { this.#parts[name] = parts[i]; });
    if (this.#params) replaced(this.#params, this.#parts.search);
  }
  // The address with one part changed; one that can't be stays as it is.
  #put(name, value) {
    const parts = {...this.#parts, [name]: value};
    const user = parts.username === '' && parts.password === '' ? '' :
      parts.username + (parts.password === '' ? '' : ':' + parts.password) + '@';
    const address = parts.protocol + '//' + user + parts.hostname + (parts.port === '' ? '' : ':' + parts.port) +
      parts.pathname + parts.search + parts.hash;
    const parsed = parseUrl(address, null);
    if (parsed === null) return;
    partNames.forEach((part, i) => { this.#parts[part] = parsed[i]; });
  }
  get href() { return this.#parts.href; }
  set href(value) { this.#take(parseUrl(text(value), null), text(value)); }
  get origin() { return /^https?:$/.test(this.protocol) ? this.protocol + '//' + this.host : 'null'; }
  get protocol() { return this.#parts.protocol; }
  set protocol(value) { this.#put('protocol', text(value).replace(/:.*$/, '') + ':'); }
  get username() { return this.#parts.username; }
  set username(value) { this.#put('username', encodeURIComponent(text(value))); }
  get password() { return this.#parts.password; }
  set password(value) { this.#put('password', encodeURIComponent(text(value))); }
  get host() { return this.hostname + (this.port === '' ? '' : ':' + this.port); }
  set host(value) {
    const [, name, port] = /^(\[[^\]]*\]|[^:\/?#@\\]*)(?::(\d*))?/.exec(text(value));
    this.#put('hostname', name);
    if (port !== undefined) this.#put('port', port);
  }
  get hostname() { return this.#parts.hostname; }
  set hostname(value) { this.#put('hostname', text(value).replace(/[:\/?#@\\].*$/, '')); }
  get port() { return this.#parts.port; }
  set port(value) { this.#put('port', /^\d*/.exec(text(value))[0]); }
  get pathname() { return this.#parts.pathname; }
  set pathname(value) {
    const path = text(value).replace(/\?/g, '%3F').replace(/#/g, '%23');
    this.#put('pathname', path.startsWith('/') ? path : '/' + path);
  }
  get search() { return this.#parts.search; }
  set search(value) {
    const query = text(value).replace(/^\?/, '').replace(/#/g, '%23');
    this.#put('search', query === '' ? '' : '?' + query);
    if (this.#params) replaced(this.#params, this.#parts.search);
  }
  get hash() { return this.#parts.hash; }
  set hash(value) { const hash = text(value).replace(/^#/, ''); this.#put('hash', hash === '' ? '' : '#' + hash); }
  get searchParams() {
    return this.#params = this.#params ||
      watched(this.#parts.search, query => this.#put('search', query === '' ? '' : '?' + query));
  }
  toString() { return this.href; }
  toJSON() { return this.href; }
}
define('URL', URL);

// --- Texts as bytes

const bytesOf = (data, what) => {
  if (typeof data === 'string') return encodeUtf8(data);
  if (data instanceof Uint8Array) return data;
  if (ArrayBuffer.isView(data)) return new Uint8Array(data.buffer, data.byteOffset, data.byteLength);
  if (data instanceof ArrayBuffer) return new Uint8Array(data);
  throw new TypeError(what + ' takes a text or bytes');
};

class TextEncoder {
  get encoding() { return 'utf-8'; }
  encode(value = '') { return encodeUtf8(text(value)); }
}
define('TextEncoder', TextEncoder);

class TextDecoder {
  #fatal; #keepsMark;
  constructor(label = 'utf-8', options = {}) {
    if (!/^\s*(utf-?8|unicode-1-1-utf-8)\s*$/i.test(label)) throw new RangeError('TextDecoder knows utf-8 only');
    this.#fatal = Boolean(options.fatal);
    this.#keepsMark = Boolean(options.ignoreBOM);
  }
  get encoding() { return 'utf-8'; }
  get fatal() { return this.#fatal; }
  get ignoreBOM() { return this.#keepsMark; }
  decode(data = new Uint8Array(0)) {
    const bytes = bytesOf(typeof data === 'string' ? undefined : data, 'TextDecoder.decode');
    if (this.#fatal && !isUtf8(bytes)) throw new TypeError('The bytes are not valid utf-8');
    const decoded = decodeUtf8(bytes);
    return !this.#keepsMark && decoded.startsWith('\uFEFF') ? decoded.slice(1) : decoded;
  }
}
define('TextDecoder', TextDecoder);

// --- crypto

const letters = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
function written(bytes, as = 'hex') {
  if (as === 'bytes') return bytes;
  if (as === 'hex') return Array.from(bytes, byte => byte.toString(16).padStart(2, '0')).join('');
  if (as !== 'base64' && as !== 'base64url') throw new TypeError('A hash is written as "hex", "base64", "base64url" or "bytes"');
  let result = '';
  for (let i = 0; i < bytes.length; i += 3) {
    const three = (bytes[i] << 16) | ((bytes[i + 1] || 0) << 8) | (bytes[i + 2] || 0);
    for (let j = 0; j < 4; ++j) result += i + j > bytes.length ? '=' : letters[(three >> (18 - 6 * j)) & 63];
  }
  return as === 'base64' ? result : result.replace(/\+/g, '-').replace(/\//g, '_').replace(/=/g, '');
}
const mostRandom = 65536;
define('crypto', {
  getRandomValues(array) {
    const isWhole = ArrayBuffer.isView(array) && !(array instanceof DataView) && !/^Float/.test(array.constructor.name);
    if (!isWhole) throw new TypeError('crypto.getRandomValues takes an array of whole numbers, such as Uint8Array');
    if (array.byteLength > mostRandom) throw new RangeError('crypto.getRandomValues gives 65536 bytes at most');
    new Uint8Array(array.buffer, array.byteOffset, array.byteLength).set(random(array.byteLength));
    return array;
  },
  randomUUID() {
    const bytes = random(16);
    bytes[6] = (bytes[6] & 0x0f) | 0x40;
    bytes[8] = (bytes[8] & 0x3f) | 0x80;
    return written(bytes).replace(/^(.{8})(.{4})(.{4})(.{4})/, '$1-$2-$3-$4-');
  },
  hash(algorithm, data, as) { return written(hostHash(text(algorithm), bytesOf(data, 'crypto.hash')), as); },
  hmac(algorithm, key, data, as) {
    return written(hostHmac(text(algorithm), bytesOf(key, 'crypto.hmac'), bytesOf(data, 'crypto.hmac')), as);
  },
  // In the same time wherever they differ.
  areEqual(a, b) {
    const [first, second] = [bytesOf(a, 'crypto.areEqual'), bytesOf(b, 'crypto.areEqual')];
    let difference = first.length ^ second.length;
    for (let i = 0; i < first.length; ++i) difference |= first[i] ^ second[i % (second.length || 1)];
    return difference === 0;
  },
  hashPassword(password) { return hashPassword(text(password)); },
  isPassword(password, hash) { return checkPassword(text(password), text(hash)); }
});

// --- Asking other servers

class Headers {
  #fields;
  constructor(fields) { this.#fields = fields; }
  get(name) {
    const values = this.#fields.filter(field => field[0] === text(name).toLowerCase()).map(field => field[1]);
    return values.length === 0 ? null : values.join(', ');
  }
  has(name) { return this.get(name) !== null; }
  *entries() { for (const field of this.#fields) yield [...field]; }
  [Symbol.iterator]() { return this.entries(); }
}

// An answer that is there as a whole.
class Answer {
  #parts;
  constructor(parts) { this.#parts = parts; }
  get url() { return this.#parts.url; }
  get status() { return this.#parts.status; }
  get ok() { return this.status >= 200 && this.status < 300; }
  get headers() { return this.#parts.headers; }
  text() { return new TextDecoder().decode(this.#parts.bytes); }
  json() { return JSON.parse(this.text()); }
  bytes() { return this.#parts.bytes; }
}

// The same as browsers give it: what it holds comes by promises.
class LaterAnswer {
  #answer;
  constructor(answer) { this.#answer = answer; }
  get url() { return this.#answer.url; }
  get status() { return this.#answer.status; }
  get ok() { return this.#answer.ok; }
  get headers() { return this.#answer.headers; }
  async text() { return this.#answer.text(); }
  async json() { return this.#answer.json(); }
  async bytes() { return this.#answer.bytes(); }
  async arrayBuffer() { return this.#answer.bytes().slice().buffer; }
}

function ask(address, {method = 'GET', headers = {}, body} = {}) {
  const given = typeof headers[Symbol.iterator] === 'function' ? [...headers] : Object.entries(headers);
  const fields = given.map(([name, value]) => [text(name), text(value)]);
  const isForm = body instanceof URLSearchParams;
  const bytes = body === undefined || body === null ? new Uint8Array(0) : bytesOf(isForm ? text(body) : body, 'fetch');
  const hasType = fields.some(field => field[0].toLowerCase() === 'content-type');
  if (bytes.length > 0 && !hasType && (isForm || typeof body === 'string'))
    fields.push(['Content-Type', isForm ? 'application/x-www-form-urlencoded' : 'text/plain;charset=UTF-8']);
  const [url, status, flat, content] = hostFetch(text(address), text(method).toUpperCase(), fields.flat(), bytes);
  const answered = [];
  for (let i = 0; i < flat.length; i += 2) answered.push([flat[i].toLowerCase(), flat[i + 1]]);
  return new Answer({url, status, headers: new Headers(answered), bytes: content});
}
define('fetchNow', function fetchNow(address, options) { return ask(address, options); });
define('fetch', async function fetch(address, options) { return new LaterAnswer(ask(address, options)); });
