// The list page against its peers, cell by cell and as page.List writes it: the same rows and cells from Node and from PHP
// behind nginx, each with strings joined by hand, and from what people would pick: Express with Knex and EJS, and Django with
// django-tables2. As many workers each, asked in turn; the hand-joined pages and Express's have the number of bytes of the list
// page. bench/peers/peers.mjs [ROUNDS] [SECONDS]
import { spawn } from 'node:child_process';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { freePort, interleaved, listSite, machine, memory, nextPageUrl, root, sleep, start, startVarnel, table, temporaryFolder, threads } from '../servers.mjs';
import { install } from './install.mjs';

const rounds = Number(process.argv[2] ?? 3);
const seconds = Number(process.argv[3] ?? 5);
const folder = path.join(root, 'bench/peers');

install(folder);

const port = await freePort();
const site = listSite(port);
const database = path.join(site, 'items.db');
const varnel = await startVarnel(site, port);
const url = await nextPageUrl(port);
const text = await (await fetch(url)).text();
const bytes = Buffer.byteLength(text);
// By page.List: one that its server keeps, and the same made for each request.
const wholeUrl = await nextPageUrl(port, 'whole.asp');
const whole = await (await fetch(wholeUrl)).text();
const anewUrl = await nextPageUrl(port, 'whole-anew.asp');
const anew = await (await fetch(anewUrl)).text();
if (anew !== whole.replaceAll('whole.asp', 'whole-anew.asp')) throw new Error('a kept list is another one');

const nodeEnvironment = { ...process.env, NODE_ENV: 'production', PAGE_BYTES: String(bytes) };
async function startNode(program) {
  const port = await freePort();
  const child = await start(process.execPath, [path.join(folder, program), database, port, threads], port, { env: nodeEnvironment });
  return { port, child };
}
const node = await startNode('list.mjs');
const express = await startNode('express/app.mjs');

// Python's compiled files stay out of the source folder.
const djangoPort = await freePort();
const django = await start('gunicorn', ['--workers', threads, '--bind', `127.0.0.1:${djangoPort}`, '--log-level', 'warning',
  '--chdir', path.join(folder, 'django'), 'django.core.wsgi:get_wsgi_application()'], djangoPort,
{ env: { ...process.env, DJANGO_SETTINGS_MODULE: 'settings', ITEMS: database, PYTHONDONTWRITEBYTECODE: '1' } });

// PHP's and nginx's own configuration, in a folder of theirs.
const phpFolder = temporaryFolder();
const phpPort = await freePort();
const values = { THREADS: threads, FOLDER: phpFolder, PORT: phpPort, SCRIPT: path.join(folder, 'list.php'), DATABASE: database, BYTES: bytes };
function filled(name) {
  const target = path.join(phpFolder, name);
  writeFileSync(target, readFileSync(path.join(folder, name), 'utf8').replace(/@(\w+)@/g, (_, word) => values[word]));
  return target;
}
const asRoot = process.getuid() === 0;
// As root the workers are root too: no other user may read the folders.
const fpmConfiguration = filled('php-fpm.conf');
if (asRoot) writeFileSync(fpmConfiguration, readFileSync(fpmConfiguration, 'utf8') + 'user = root\ngroup = root\n');
const nginxConfiguration = filled('nginx.conf');
if (asRoot) writeFileSync(nginxConfiguration, 'user root;\n' + readFileSync(nginxConfiguration, 'utf8'));
const fpm = spawn('php-fpm8.2', ['--nodaemonize', ...(asRoot ? ['-R'] : []), '-y', fpmConfiguration], { stdio: 'ignore' });
process.on('exit', () => { try { fpm.kill(); } catch { /* it has ended */ } });
// It listens a moment later; until then nginx would answer with an error.
for (let attempt = 0; attempt < 100 && !existsSync(path.join(phpFolder, 'php.sock')); ++attempt) await sleep(100);
const nginx = await start('nginx', ['-c', nginxConfiguration], phpPort, { stdio: 'ignore' });

// How the cells and the link to the next page are found. EJS writes a quotation mark by its number, all others by its name.
const handMade = { cell: /<td {2}bgcolor="#ffffff">(.*?)<\/td>/g, next: /href="([^"]*)">Next/, bytes };
const tables2 = { cell: /<td >(.*?)<\/td>/g, next: /<li class="next">\s*<a href="([^"]*)"/ };
const cells = (html, markup) => [...html.matchAll(markup.cell)].map((match) => match[1].replaceAll('&#34;', '&quot;'));
const expected = cells(text, handMade);
if (expected.length !== 60) throw new Error(`the list page shows ${expected.length} cells, not 60`);
if (cells(whole, { cell: /<td[^>]* data-label="[^"]*">(.*?)<\/td>/g }).join('|') !== expected.join('|')) throw new Error('page.List shows other cells');

// The page that each one's first page links to, and proof that all show the same rows.
async function secondPage(port, markup) {
  const address = `http://127.0.0.1:${port}/list`;
  const first = await (await fetch(address)).text();
  const link = markup.next.exec(first);
  if (!link) throw new Error(`no list at ${address}: ${first.slice(0, 300)}`);
  const target = new URL(link[1].replaceAll('&amp;', '&'), address).href;
  const page = await (await fetch(target)).text();
  if (cells(page, markup).join('|') !== expected.join('|')) throw new Error(`${target} shows other cells`);
  const size = Buffer.byteLength(page);
  if (size !== (markup.bytes ?? size)) throw new Error(`${target} sends ${size} bytes, not ${markup.bytes}`);
  return { url: target, bytes: size };
}

const servers = [
  { name: 'Varnel, cell by cell', url, bytes, child: varnel, pids: [varnel.pid] },
  { name: 'Varnel, page.List, kept', url: wholeUrl, bytes: Buffer.byteLength(whole), child: varnel, pids: [varnel.pid] },
  { name: 'Varnel, page.List, made each time', url: anewUrl, bytes: Buffer.byteLength(anew), child: varnel, pids: [varnel.pid] },
  { name: `Node ${process.version}, better-sqlite3`, ...await secondPage(node.port, handMade), child: node.child, pids: [node.child.pid] },
  { name: 'PHP 8.2 and its SQLite, nginx', ...await secondPage(phpPort, handMade), child: fpm, also: nginx, pids: [fpm.pid, nginx.pid] },
  { name: 'Express, Knex, EJS', ...await secondPage(express.port, handMade), child: express.child, pids: [express.child.pid] },
  { name: 'Django, django-tables2, gunicorn', ...await secondPage(djangoPort, tables2), child: django, pids: [django.pid] }
];
console.log(`${machine()}; ${threads} threads or processes each`);
const results = await interleaved(servers, rounds, seconds);
console.log(table([
  ['', 'requests/s', 'CPU us each', 'p99 ms', 'MB', 'page bytes', 'cell by cell is', 'page.List, kept, is', 'page.List, made, is'],
  ...results.map((result, i) => [result.name, result.rate.toFixed(0), result.cpu.toFixed(0), result.p99.toFixed(1),
    (memory(servers[i].child.pid) + (servers[i].also ? memory(servers[i].also.pid) : 0)).toFixed(0), servers[i].bytes,
    ...results.slice(0, 3).map((ours) => `${(ours.rate / result.rate).toFixed(2)} times`)])
]));
if (results.some((result) => result.failed > 0)) throw new Error('some requests failed');
process.exit(0);
