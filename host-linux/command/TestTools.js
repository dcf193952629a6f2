'use strict';
// What the tests of a site find among their names: test, site, assert. They run inside the varnel program, in one
// scope with the test file; `host...` are its functions.

var testsToRun = [];
var visitorsCookies = {};
var mostRedirects = 10;

function test(name, body) { testsToRun.push({name: String(name), body: body}); }

// --- Comparing

function shown(value) {
  if (typeof value === 'string') return value.length > 300 ? JSON.stringify(value.slice(0, 300)) + '...' : JSON.stringify(value);
  if (typeof value === 'function') return 'a function';
  var text = JSON.stringify(value);
  return text === undefined ? String(value) : text;
}

function areEqual(a, b) {
  if (Object.is(a, b)) return true;
  if (typeof a !== 'object' || typeof b !== 'object' || a === null || b === null) return false;
  if (a instanceof Date && b instanceof Date) return a.getTime() === b.getTime();
  if (Array.isArray(a) !== Array.isArray(b)) return false;
  var names = Object.keys(a);
  return names.length === Object.keys(b).length &&
    names.every(name => Object.prototype.hasOwnProperty.call(b, name) && areEqual(a[name], b[name]));
}

function failAssertion(text, message) { throw new Error(message === undefined ? text : message + ': ' + text); }

function assert(condition, message) { if (!condition) failAssertion('it is ' + shown(condition), message); }
assert.equal = function (actual, expected, message) {
  if (!areEqual(actual, expected)) failAssertion('it is ' + shown(actual) + ', not ' + shown(expected), message);
};
assert.contains = function (whole, part, message) {
  var isIn = Array.isArray(whole) ? whole.some(one => areEqual(one, part)) : String(whole).includes(part);
  if (!isIn) failAssertion(shown(whole) + ' has no ' + shown(part), message);
};
assert.matches = function (text, pattern, message) {
  if (!pattern.test(text)) failAssertion(shown(text) + ' doesn\'t match ' + pattern, message);
};
assert.throws = function (body, message) {
  try { body(); } catch (error) { return error; }
  failAssertion('no error was thrown', message);
};

// --- HTML

var namedCharacters = {amp: '&', lt: '<', gt: '>', quot: '"', apos: "'", nbsp: '\u00a0', copy: '\u00a9', middot: '\u00b7', euro: '\u20ac'};
function decodedHtml(text) {
  return text.replace(/&(?:#(\d+)|#[xX]([0-9a-fA-F]+)|(\w+));/g, function (whole, decimal, hex, name) {
    if (name !== undefined) return Object.prototype.hasOwnProperty.call(namedCharacters, name) ? namedCharacters[name] : whole;
    var code = decimal !== undefined ? parseInt(decimal, 10) : parseInt(hex, 16);
    return code <= 0x10FFFF ? String.fromCodePoint(code) : whole;
  });
}

function condensed(text) { return text.replace(/[\s\u00a0]+/g, ' ').trim(); }

var voidTags = new Set(['area', 'base', 'br', 'col', 'embed', 'hr', 'img', 'input', 'link', 'meta', 'source', 'track', 'wbr']);
var endedBy = {
  li: {ends: ['li'], within: ['ul', 'ol']}, option: {ends: ['option'], within: ['select']},
  td: {ends: ['td', 'th'], within: ['tr', 'table']}, th: {ends: ['td', 'th'], within: ['tr', 'table']},
  tr: {ends: ['tr'], within: ['table']}, p: {ends: ['p'], within: ['div', 'td', 'th', 'li', 'form', 'body']},
  dt: {ends: ['dt', 'dd'], within: ['dl']}, dd: {ends: ['dt', 'dd'], within: ['dl']}
};

function attributesOf(text) {
  var attributes = {};
  for (var match of text.matchAll(/([^\s"'=\/>]+)(?:\s*=\s*(?:"([^"]*)"|'([^']*)'|([^\s"'>]+)))?/g)) {
    var name = match[1].toLowerCase();
    if (!Object.prototype.hasOwnProperty.call(attributes, name))
      attributes[name] = decodedHtml(match[2] !== undefined ? match[2] : match[3] !== undefined ? match[3] : match[4] || '');
  }
  return attributes;
}

function parseHtml(html) {
  var root = {tag: '', attributes: {}, children: [], parent: null};
  var at = root;
  function closeFor(rule) {
    for (var node = at; node !== root && !rule.within.includes(node.tag); node = node.parent)
      if (rule.ends.includes(node.tag)) { at = node.parent; return; }
  }
  var pieces = /<!--[\s\S]*?(?:-->|$)|<![^>]*>|<(\/?)([a-zA-Z][^\s\/>]*)((?:[^"'>]|"[^"]*"|'[^']*')*)>|[^<]+|</g;
  for (var match; (match = pieces.exec(html)) !== null;) {
    if (match[2] === undefined) {
      if (!match[0].startsWith('<!')) at.children.push(decodedHtml(match[0]));
      continue;
    }
    var tag = match[2].toLowerCase();
    if (match[1] === '/') {
      var node = at;
      while (node !== root && node.tag !== tag) node = node.parent;
      if (node !== root) at = node.parent;
      continue;
    }
    if (endedBy[tag]) closeFor(endedBy[tag]);
    var element = {tag: tag, attributes: attributesOf(match[3]), children: [], parent: at};
    at.children.push(element);
    if (voidTags.has(tag)) continue;
    if (tag === 'script' || tag === 'style' || tag === 'textarea') {
      var end = html.toLowerCase().indexOf('</' + tag, pieces.lastIndex);
      if (end < 0) end = html.length;
      var inside = html.slice(pieces.lastIndex, end);
      element.children.push(tag === 'textarea' ? decodedHtml(inside).replace(/^\r?\n/, '') : inside);
      pieces.lastIndex = end;
    }
    at = element;
  }
  return root;
}

function* elementsOf(root, tag) {
  var waiting = [root];
  while (waiting.length > 0) {
    var node = waiting.pop();
    if (node !== root && (tag === undefined || node.tag === tag)) yield node;
    for (var i = node.children.length - 1; i >= 0; --i)
      if (typeof node.children[i] === 'object') waiting.push(node.children[i]);
  }
}

function textOf(node) {
  if (typeof node === 'string') return node;
  if (node.tag === 'script' || node.tag === 'style' || node.tag === 'head') return '';
  return node.children.map(textOf).join(node.tag === 'tr' || node.tag === 'table' ? ' ' : '');
}

// By what a visitor knows an element: its text, or what its image or itself says of it.
function namesOf(element) {
  var names = [textOf(element), element.attributes.title, element.attributes['aria-label']];
  if (element.tag === 'input') names.push(element.attributes.value, element.attributes.alt);
  for (var image of elementsOf(element, 'img')) names.push(image.attributes.alt, image.attributes.title);
  return names.filter(name => name !== undefined).map(condensed);
}

function isCalled(element, name) { return namesOf(element).includes(condensed(name)); }

// --- Requests

// The path of an address from the site's root on, as a browser finds it on the page `from`.
function resolved(address, from) {
  var text = String(address);
  text = text.replace(/^https?:\/\/localhost(?=[\/?#]|$)/i, '').replace(/#.*$/, '');
  if (/^[a-zA-Z][a-zA-Z0-9+.-]*:|^\/\//.test(text)) throw new Error('"' + address + '" leads to another site');
  var path = from.replace(/\?.*$/, '');
  if (text === '') return from;
  if (text.startsWith('?')) return path + text;
  if (!text.startsWith('/')) text = path.replace(/[^\/]*$/, '') + text;
  var query = text.includes('?') ? text.slice(text.indexOf('?')) : '';
  var segments = [];
  for (var segment of text.slice(0, text.length - query.length).split('/')) {
    if (segment === '..') segments.pop();
    else if (segment !== '.') segments.push(segment);
  }
  return (segments[0] === '' ? '' : '/') + segments.join('/') + query;
}

function formEncoded(fields) {
  var encode = text => encodeURIComponent(String(text).replace(/\r?\n/g, '\r\n')).replace(/%20/g, '+');
  return fields.map(field => encode(field[0]) + '=' + encode(field[1])).join('&');
}

function pairsOf(fields) {
  if (Array.isArray(fields)) return fields;
  return Object.entries(fields || {}).flatMap(([name, value]) => Array.isArray(value) ? value.map(one => [name, one]) : [[name, value]]);
}

function multipart(fields) {
  var boundary = 'varnel-test-boundary';
  var body = fields.map(function ([name, value]) {
    var isFile = value !== null && typeof value === 'object';
    return '--' + boundary + '\r\nContent-Disposition: form-data; name="' + name + '"' +
      (isFile ? '; filename="' + value.name + '"\r\nContent-Type: ' + (value.type || 'application/octet-stream') : '') +
      '\r\n\r\n' + (isFile ? value.content : value) + '\r\n';
  }).join('');
  return {type: 'multipart/form-data; boundary=' + boundary, body: body + '--' + boundary + '--\r\n'};
}

function keepCookies(headers) {
  for (var [name, value] of headers) {
    if (name.toLowerCase() !== 'set-cookie') continue;
    var pair = value.split(';')[0];
    var key = pair.slice(0, pair.indexOf('='));
    var isOver = /;\s*(max-age=0|expires=thu, 01[ -]jan[ -]1970)/i.test(value);
    if (isOver) delete visitorsCookies[key]; else visitorsCookies[key] = pair;
  }
}

function ask(method, target, body, type, extra) {
  for (var count = 0; ; ++count) {
    var headers = [['Host', 'localhost'], ['Accept', 'text/html,*/*']];
    var given = Object.entries(extra || {});
    if (!given.some(([name]) => /^(sec-fetch-site|origin)$/i.test(name))) headers.push(['Sec-Fetch-Site', 'same-origin']);
    var cookies = Object.values(visitorsCookies).join('; ');
    if (cookies !== '') headers.push(['Cookie', cookies]);
    if (type) headers.push(['Content-Type', type]);
    headers.push(...given);
    var [status, flat, text] = hostAsk(method, target, headers.flat(), body);
    var answered = [];
    for (var i = 0; i < flat.length; i += 2) answered.push([flat[i], flat[i + 1]]);
    keepCookies(answered);
    var page = new Page(target, status, answered, text);
    var location = page.headers.location;
    if (location === undefined || ![301, 302, 303, 307, 308].includes(status) || (extra || {}).follow === false) return page;
    if (count === mostRedirects) throw new Error(target + ' redirects again and again');
    target = resolved(location, target);
    if (status < 307) { method = 'GET'; body = ''; type = ''; }
  }
}

class Form {
  constructor(page, element) {
    this.page = page;
    this.element = element;
    this.values = [];  // [name, value], in the order of the page
    for (var field of elementsOf(element)) this.take(field);
  }
  take(field) {
    var name = field.attributes.name;
    var type = (field.attributes.type || 'text').toLowerCase();
    if (name === undefined || field.attributes.disabled !== undefined) return;
    if (field.tag === 'textarea') this.values.push([name, textOf(field)]);
    if (field.tag === 'select') {
      var options = [...elementsOf(field, 'option')];
      var chosen = options.filter(option => option.attributes.selected !== undefined);
      if (chosen.length === 0 && options.length > 0 && field.attributes.multiple === undefined) chosen = [options[0]];
      for (var option of chosen) this.values.push([name, option.attributes.value !== undefined ? option.attributes.value : condensed(textOf(option))]);
    }
    if (field.tag !== 'input' || ['submit', 'image', 'button', 'reset', 'file'].includes(type)) return;
    if (type !== 'checkbox' && type !== 'radio') this.values.push([name, field.attributes.value || '']);
    else if (field.attributes.checked !== undefined) this.values.push([name, field.attributes.value || 'on']);
  }
  names() {
    return [...elementsOf(this.element)].filter(field => ['input', 'select', 'textarea'].includes(field.tag)).map(field => field.attributes.name);
  }
  // The values of fields by their names; null takes a field out, as an unchecked box.
  fill(values) {
    for (var [name, value] of Object.entries(values)) {
      if (!this.names().includes(name)) throw new Error('the form has no field "' + name + '": it has ' + this.names().filter(Boolean).join(', '));
      var at = this.values.findIndex(pair => pair[0] === name);
      this.values = this.values.filter(pair => pair[0] !== name);
      if (value === null || value === false) continue;
      this.values.splice(at < 0 ? this.values.length : at, 0, ...pairsOf({[name]: value === true ? 'on' : value}));
    }
    return this;
  }
  // By the button of that text; without one by the first, or by none.
  submit(text) {
    var buttons = [...elementsOf(this.element)].filter(element =>
      (element.tag === 'button' && (element.attributes.type || 'submit') === 'submit') ||
      (element.tag === 'input' && ['submit', 'image'].includes(element.attributes.type)));
    var button = text === undefined ? buttons[0] : buttons.find(one => isCalled(one, text));
    if (text !== undefined && !button) throw new Error('the form has no button "' + text + '"');
    return this.send(button);
  }
  send(button) {
    var fields = [...this.values];
    if (button && button.attributes.name !== undefined) {
      if (button.attributes.type === 'image') fields.push([button.attributes.name + '.x', '1'], [button.attributes.name + '.y', '1']);
      else fields.push([button.attributes.name, button.attributes.value || '']);
    }
    var target = resolved(this.element.attributes.action || '', this.page.address);
    if ((this.element.attributes.method || 'get').toLowerCase() !== 'post')
      return ask('GET', target.replace(/\?.*$/, '') + '?' + formEncoded(fields), '', '');
    if ((this.element.attributes.enctype || '').toLowerCase() !== 'multipart/form-data')
      return ask('POST', target, formEncoded(fields), 'application/x-www-form-urlencoded');
    var whole = multipart(fields);
    return ask('POST', target, whole.body, whole.type);
  }
}

class Page {
  #tree;
  constructor(address, status, headers, html) {
    this.address = address;
    this.status = status;
    this.headers = {};
    for (var [name, value] of headers) this.headers[name.toLowerCase()] = value;
    this.html = html;
  }
  get root() { return this.#tree = this.#tree || parseHtml(this.html); }
  get text() { return condensed(textOf(this.root)); }
  get title() { for (var title of elementsOf(this.root, 'title')) return condensed(textOf(title)); return ''; }
  // The rows of the tables that hold no further table, as texts of their cells.
  rows() {
    var rows = [];
    for (var row of elementsOf(this.root, 'tr')) {
      if (![...elementsOf(row, 'table')].length)
        rows.push([...elementsOf(row)].filter(cell => cell.tag === 'td' || cell.tag === 'th').map(cell => condensed(textOf(cell))));
    }
    return rows.filter(cells => cells.some(cell => cell !== ''));
  }
  links() {
    return [...elementsOf(this.root, 'a')].filter(link => link.attributes.href !== undefined)
      .map(link => ({text: namesOf(link).find(name => name !== '') || '', href: link.attributes.href}));
  }
  // The link of that text, or of an image that says so; or the button.
  click(name) {
    var known = [];
    for (var link of elementsOf(this.root, 'a')) {
      if (link.attributes.href !== undefined && isCalled(link, name)) return ask('GET', resolved(link.attributes.href, this.address), '', '');
      if (link.attributes.href !== undefined) known.push(link);
    }
    for (var form of elementsOf(this.root, 'form')) {
      for (var button of elementsOf(form)) {
        if (button.tag !== 'button' && !(button.tag === 'input' && ['submit', 'image'].includes(button.attributes.type))) continue;
        if (isCalled(button, name)) return new Form(this, form).send(button);
        known.push(button);
      }
    }
    var names = [...new Set(known.map(element => namesOf(element).find(one => one !== '')))].filter(one => one !== undefined);
    throw new Error(this.address + ' has no link or button "' + name + '"' +
      (names.length === 0 ? '' : '\n     There are: ' + names.slice(0, 20).map(one => '"' + one + '"').join(', ') + (names.length > 20 ? ', ...' : '')));
  }
  // The form that has a field of that name; without one the first.
  form(field) {
    for (var element of elementsOf(this.root, 'form')) {
      var form = new Form(this, element);
      if (field === undefined || form.names().includes(field)) return form;
    }
    throw new Error(this.address + ' has no form' + (field === undefined ? '' : ' with a field "' + field + '"'));
  }
  fill(values) { return this.form(Object.keys(values)[0]).fill(values); }
}

var site = {
  root: hostRoot(),
  get(address, headers) { return ask('GET', resolved(address, site.root + '/'), '', '', headers); },
  post(address, fields, headers) {
    return ask('POST', resolved(address, site.root + '/'), formEncoded(pairsOf(fields)), 'application/x-www-form-urlencoded', headers);
  },
  // What the pages have logged since the test began.
  log() { return hostLog(); },
  // Another visitor, without the cookies of this one.
  forget() { visitorsCookies = {}; }
};

// --- Running

// Where in the test file an error came from: the first place of its stack that is none of these tools.
function lineOf(error) {
  for (var match of String(error && error.stack).matchAll(/\(?([^\s()]+):(\d+)\)?$/gm))
    if (match[1] !== hostToolsName()) return Number(match[2]);
  return 0;
}

async function runTests() {
  for (var one of testsToRun) {
    visitorsCookies = {};
    hostBegin(one.name);
    try {
      await one.body(site);
      hostEnd(one.name, '', 0);
    } catch (error) {
      hostEnd(one.name, error instanceof Error ? (error.name === 'Error' ? '' : error.name + ': ') + error.message : String(error), lineOf(error));
    }
  }
}
