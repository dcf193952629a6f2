// The list page against its peers: the same rows, cells and number of bytes from Node with better-sqlite3 and from PHP
// behind nginx, as many workers each, asked in turn. bench/peers/peers.mjs [ROUNDS] [SECONDS]
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

const nodePort = await freePort();
const node = await start(process.execPath, [path.join(folder, 'list.mjs'), database, nodePort, threads], nodePort,
  { env: { ...process.env, NODE_ENV: 'production', PAGE_BYTES: String(bytes) } });

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

// The page that each one's first page links to, and proof that all show the same rows.
const cells = (html) => [...html.matchAll(/<td {2}bgcolor="#ffffff">(.*?)<\/td>/g)].map((match) => match[1]).join('|');
async function secondPage(address) {
  const first = await (await fetch(`http://127.0.0.1:${address}/list`)).text();
  const link = /href="([^"]*)">Next/.exec(first);
  if (!link) throw new Error(`no list at ${address}: ${first.slice(0, 300)}`);
  const target = `http://127.0.0.1:${address}${link[1].replaceAll('&amp;', '&')}`;
  const page = await (await fetch(target)).text();
  if (cells(page) !== cells(text)) throw new Error(`${target} shows other cells`);
  if (Buffer.byteLength(page) !== bytes) throw new Error(`${target} sends ${Buffer.byteLength(page)} bytes, not ${bytes}`);
  return target;
}

const servers = [
  { name: 'Varnel', url, child: varnel, pids: [varnel.pid] },
  { name: `Node ${process.version}, better-sqlite3`, url: await secondPage(nodePort), child: node, pids: [node.pid] },
  { name: 'PHP 8.2 and its SQLite, nginx', url: await secondPage(phpPort), child: fpm, also: nginx, pids: [fpm.pid, nginx.pid] }
];
console.log(`${machine()}; ${threads} threads or processes each; a page of ${bytes} bytes`);
const results = await interleaved(servers, rounds, seconds);
console.log(table([
  ['', 'requests/s', 'CPU us each', 'p99 ms', 'MB', 'Varnel is'],
  ...results.map((result, i) => [result.name, result.rate.toFixed(0), result.cpu.toFixed(0), result.p99.toFixed(1),
    (memory(servers[i].child.pid) + (servers[i].also ? memory(servers[i].also.pid) : 0)).toFixed(0),
    `${(results[0].rate / result.rate).toFixed(2)} times`])
]));
if (results.some((result) => result.failed > 0)) throw new Error('some requests failed');
process.exit(0);
