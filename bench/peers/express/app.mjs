// The list page as it is written with Express, Knex and EJS: the same data, cells and links, paged by keyset by hand with
// the total carried along, in a cluster of as many processes as the others have threads. node app.mjs DATABASE PORT PROCESSES
import cluster from 'node:cluster';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import express from 'express';
import knex from 'knex';

const [file, port, processes] = process.argv.slice(2);
const columns = [
  { title: 'Number', field: 'id' },
  { title: 'Name', field: 'name' },
  { title: 'Maker', field: 'maker' },
  { title: 'Category', field: 'category' },
  { title: 'Price', field: 'price' },
  { title: 'Stock', field: 'stock' }
];
const fields = columns.map((column) => column.field);
const pageSize = 10;

// The position as one text: step, total, number of the first row, column, direction, and the values of the row that it
// goes on from.
const url = (s) => '/list?R_1=' + encodeURIComponent(JSON.stringify([s.step, s.total, s.first, s.sort, s.descending ? 1 : 0, ...s.keys]));

function readState(text) {
  if (!text) return { step: 0, total: -1, first: 1, sort: 'name', descending: false, keys: [] };
  const [step, total, first, sort, descending, ...keys] = JSON.parse(text);
  if (!fields.includes(sort) || !Number.isInteger(total) || !Number.isInteger(first)) throw new Error('no state');
  return { step, total, first, sort, descending: descending === 1, keys };
}

async function readRows(db, state) {
  const backward = state.step === 2 || state.step === 3;
  const order = backward !== state.descending ? 'desc' : 'asc';
  const query = db('item').select(fields).orderBy([{ column: state.sort, order }, { column: 'id', order }]).limit(pageSize);
  if (state.step === 1 || state.step === 2) {
    query.whereRaw(`(??, id) ${order === 'asc' ? '>' : '<'} (?, ?)`, [state.sort, ...state.keys]);
  }
  const rows = await query;
  return backward ? rows.reverse() : rows;
}

// What the template shows.
async function makePage(db, text) {
  const state = readState(text);
  if (state.total < 0) state.total = (await db('item').count({ n: '*' }).first()).n;
  const rows = await readRows(db, state);
  if (state.step === 3) state.first = state.total - rows.length + 1;
  const last = state.first + rows.length - 1;
  const atStart = state.first === 1;
  const atEnd = last >= state.total;
  const to = (step, first, row) => url({ ...state, step, first, keys: row ? [row[state.sort], row.id] : [] });
  const sorted = (sort) => url({ step: 0, total: state.total, first: 1, sort, descending: state.sort === sort && !state.descending, keys: [] });
  return {
    first: state.first,
    last,
    total: state.total,
    navigation: [
      { title: 'First', url: atStart ? '' : to(0, 1) },
      { title: 'Previous', url: atStart ? '' : to(2, state.first - pageSize, rows[0]) },
      { title: 'Next', url: atEnd ? '' : to(1, state.first + pageSize, rows[rows.length - 1]) },
      { title: 'Last', url: atEnd ? '' : to(3, 1) }
    ],
    heads: columns.map(({ title, field }) => ({ title, url: sorted(field) })),
    fields,
    rows
  };
}

if (cluster.isPrimary) {
  for (let i = 0; i < Number(processes); ++i) cluster.fork();
  process.on('SIGTERM', () => { for (const worker of Object.values(cluster.workers)) worker.kill(); process.exit(0); });
} else {
  const db = knex({ client: 'better-sqlite3', connection: { filename: file, options: { readonly: true } }, useNullAsDefault: true });
  // Filled up with blanks to `PAGE_BYTES`, so that all send the same number of bytes; the page is ASCII.
  const bytes = Number(process.env.PAGE_BYTES ?? 0);
  const app = express();
  app.disable('x-powered-by');
  app.set('views', path.join(path.dirname(fileURLToPath(import.meta.url)), 'views'));
  // NODE_ENV=production has Express and EJS keep the compiled template.
  app.set('view engine', 'ejs');
  app.get('/list', async (request, response, next) => {
    const page = await makePage(db, request.query.R_1);
    response.render('list', page, (error, html) => error ? next(error) : response.send(html.padEnd(bytes)));
  });
  app.listen(Number(port), '127.0.0.1');
}
