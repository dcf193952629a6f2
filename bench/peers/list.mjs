// The list page in Node: the same data, cells and links, paged by keyset with the total carried along, in a cluster
// of as many processes as the others have threads. node list.mjs DATABASE PORT PROCESSES
import cluster from 'node:cluster';
import http from 'node:http';
import Database from 'better-sqlite3';

const [file, port, processes] = process.argv.slice(2);
const columns = ['id', 'name', 'maker', 'category', 'price', 'stock'];
const titles = ['Number', 'Name', 'Maker', 'Category', 'Price', 'Stock'];
const pageSize = 10;

const names = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' };
const encode = (text) => String(text).replace(/[&<>"]/g, (mark) => names[mark]);

// The position as one text: step, total, number of the first row, column, direction, and the values of the row that
// it goes on from.
const writeState = (s) => JSON.stringify([s.step, s.total, s.first, s.sort, s.descending ? 1 : 0, ...s.keys]);

function readState(text) {
  if (!text) return { step: 0, total: -1, first: 1, sort: 'name', descending: false, keys: [] };
  const [step, total, first, sort, descending, ...keys] = JSON.parse(text);
  if (!columns.includes(sort) || !Number.isInteger(total) || !Number.isInteger(first)) throw new Error('no state');
  return { step, total, first, sort, descending: descending === 1, keys };
}

const url = (state) => '/list?R_1=' + encodeURIComponent(writeState(state));
const link = (target, text) => target === '' ? `<span>${text}</span>` : `<a href="${encode(target)}">${text}</a>`;

function makePage(database) {
  const statements = new Map();
  const prepared = (sql) => {
    let statement = statements.get(sql);
    if (!statement) statements.set(sql, statement = database.prepare(sql));
    return statement;
  };

  function readRows(state) {
    const backward = state.step === 2 || state.step === 3;
    const order = backward !== state.descending ? 'DESC' : 'ASC';
    const keyed = state.step === 1 || state.step === 2;
    const bound = keyed ? ` WHERE (${state.sort}, id) ${order === 'ASC' ? '>' : '<'} (?, ?)` : '';
    const rows = prepared(`SELECT id, name, maker, category, price, stock FROM item${bound} ORDER BY ${state.sort} ${order}, id ${order} LIMIT ${pageSize}`)
      .all(...(keyed ? state.keys : []));
    return backward ? rows.reverse() : rows;
  }

  return (text) => {
    const state = readState(text);
    if (state.total < 0) state.total = prepared('SELECT COUNT(*) AS n FROM item').get().n;
    const rows = readRows(state);
    if (state.step === 3) state.first = state.total - rows.length + 1;
    const keysOf = (row) => row ? [row[state.sort], row.id] : [];
    const to = (step, first, row) => url({ ...state, step, first, keys: keysOf(row) });
    const last = state.first + rows.length - 1;
    const atStart = state.first === 1;
    const atEnd = last >= state.total;

    let html = '<!DOCTYPE html>\n<html lang="en">\n<head><title>Items</title></head>\n<body>\n' +
      `<p>${state.first} - ${last} of ${state.total}</p>\n<p>` +
      [link(atStart ? '' : to(0, 1), 'First'),
        link(atStart ? '' : to(2, state.first - pageSize, rows[0]), 'Previous'),
        link(atEnd ? '' : to(1, state.first + pageSize, rows[rows.length - 1]), 'Next'),
        link(atEnd ? '' : to(3, 1), 'Last')].join(' ') +
      '</p>\n\n<!-- Begin Varnel.Table Object -->\n<table  width="100%"  cellspacing="0" cellpadding="4" border="0" >\n<tr>';
    for (let i = 0; i < columns.length; ++i) {
      const descending = state.sort === columns[i] && !state.descending;
      const target = url({ step: 0, total: state.total, first: 1, sort: columns[i], descending, keys: [] });
      html += `<td  bgcolor="#f3f6fa">${link(target, titles[i])}</td>`;
    }
    html += '</tr>\n';
    for (const row of rows) {
      html += '<tr>';
      for (const column of columns) html += `<td  bgcolor="#ffffff">${encode(row[column])}</td>`;
      html += '</tr>\n';
    }
    return html + '\n</table>\n<!--End Varnel.Table Object -->\n\n</body>\n</html>\n';
  };
}

if (cluster.isPrimary) {
  for (let i = 0; i < Number(processes); ++i) cluster.fork();
  process.on('SIGTERM', () => { for (const worker of Object.values(cluster.workers)) worker.kill(); process.exit(0); });
} else {
  const page = makePage(new Database(file, { readonly: true }));
  // Filled up with blanks to `PAGE_BYTES`, so that all send the same number of bytes.
  const bytes = Number(process.env.PAGE_BYTES ?? 0);
  http.createServer((request, response) => {
    try {
      let body = page(new URL(request.url, 'http://localhost').searchParams.get('R_1'));
      const missing = bytes - Buffer.byteLength(body);
      if (missing > 0) body += ' '.repeat(missing);
      response.writeHead(200, { 'Content-Type': 'text/html; charset=utf-8', 'Cache-Control': 'private', 'Content-Length': Buffer.byteLength(body) });
      response.end(body);
    } catch (error) {
      response.writeHead(500).end(String(error));
    }
  }).listen(Number(port), '127.0.0.1');
}
