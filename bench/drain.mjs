// Whether a server that ends lets anybody down: SIGTERM under load, many times. A client that keeps its connection and
// one that makes one for each request never meet a reset, and each request that was sent before the server closed its side
// is answered. bench/drain.mjs [RUNS]
import net from 'node:net';
import { freePort, listSite, machine, sleep, start } from './servers.mjs';
import path from 'node:path';
import { build } from './servers.mjs';

const runs = Number(process.argv[2] ?? 200);
const kClients = 6;  // of each kind

const port = await freePort();
const site = listSite(port);
const found = { answered: 0, reset: 0, unanswered: 0, badEnd: 0 };

// Asks on one connection until the server closes it, or once; false where there is no server any more.
function connection(keeps) {
  return new Promise((resolve) => {
    let waiting = false;
    let text = '';
    let wasOpen = false;
    const ask = () => {
      waiting = true;
      socket.write(`GET /bench/list.asp HTTP/1.1\r\nHost: localhost\r\n${keeps ? '' : 'Connection: close\r\n'}\r\n`);
    };
    const socket = net.connect({ port, host: '127.0.0.1' }, () => { wasOpen = true; ask(); });
    socket.setEncoding('latin1').on('data', (data) => {
      text += data;
      const head = text.indexOf('\r\n\r\n');
      const length = /Content-Length: (\d+)/.exec(text);
      if (head < 0 || !length || text.length < head + 4 + Number(length[1])) return;
      ++found.answered;
      const ends = /Connection: close/.test(text.slice(0, head));
      text = '';
      waiting = false;
      if (!ends) ask();
    });
    socket.on('end', () => { if (waiting) ++found.unanswered; });
    socket.on('error', (error) => {
      if (wasOpen || error.code === 'ECONNRESET') { ++found.reset; console.log(`          ${error.code} ${waiting ? 'waiting' : 'idle'} ${keeps ? 'kept' : 'new'}`); }
    });
    socket.on('close', () => resolve(wasOpen));
  });
}

async function client(keeps) {
  while (await connection(keeps));
}

console.log(machine());
for (let run = 0; run < runs; ++run) {
  const varnel = await start(path.join(build, 'varnel'), ['serve', site], port, { stdio: 'ignore' });
  const ended = new Promise((resolve) => { varnel.once('exit', resolve); });
  const clients = [true, false].flatMap((keeps) => Array.from({ length: kClients }, () => client(keeps)));
  await sleep(300 + Math.random() * 100);
  varnel.kill('SIGTERM');
  await Promise.all(clients);
  if (await ended !== 0) ++found.badEnd;
}
const { answered, reset, unanswered, badEnd } = found;
const held = reset + unanswered + badEnd === 0;
console.log(`${held ? 'held    ' : 'NOT HELD'}  ${runs} ends under load: ${answered} requests answered, ${reset} connections reset, ${unanswered} requests without an answer, ${badEnd} servers ended badly`);
process.exit(held ? 0 : 1);
