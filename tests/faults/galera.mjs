// A MariaDB Galera cluster of three nodes, by its ODBC driver, which takes the next node of the connection string where one is gone.
import { cause, expect, expectSeen, say, title } from "./report.mjs";
import { Cluster } from "./mariadb.mjs";
import { sleep, until } from "./processes.mjs";
import { Site } from "./site.mjs";
import { Visitors } from "./visitors.mjs";

const kVisitors = 8;
const kThreads = 4;      // the site's
const kStrings = 2;      // different connection strings of it, and so as many connections of a thread
const kStatement = 5000; // its statement_timeout, in milliseconds
const kSlack = 10_000;   // what a busy machine adds

const notes = (site) => site.value("Items", "SELECT COUNT(*) FROM note");
const note = (site, text) => site.sql("Changes", `INSERT INTO note (text) VALUES ('${text}')`);
const counts = (nodes) => nodes.map((node) => node.connections());
const sum = (numbers) => numbers.reduce((all, each) => all + each, 0);
const inUse = (nodes) => nodes[counts(nodes).indexOf(Math.max(...counts(nodes)))];

function expectNoLeak(nodes, what) {
  const connections = counts(nodes);
  expect(sum(connections) <= kThreads * kStrings, `${what}: ${connections.join(", ")} connections at the nodes; ${kThreads * kStrings} in all at most`);
}

async function expectWhole(node, nodes, began) {
  await until(`${node.name} is one of ${nodes.length}`, () => node.isSynced() && node.size() === nodes.length, 120);
  const rows = nodes.map((each) => each.sql("SELECT COUNT(*) FROM note", "shop"));
  expect(new Set(rows).size === 1, `the node is back after ${Math.round((Date.now() - began) / 1000)} s; notes at the nodes: ${rows.join(", ")}`);
}

export async function galera() {
  const { nodes } = await Cluster.make(3);
  const [first, second, third] = nodes;
  first.fill();
  const server = `Driver={MariaDB Unicode};Server=${nodes.map((node) => `127.0.0.1:${node.port}`).join(",")};Database=shop;UID=shop;PWD=secret`;
  const site = await Site.serve({ Items: `${server};Mode=Read`, Changes: server });

  title("A Galera cluster of three nodes, all well");
  const visitors = new Visitors(site, kVisitors);
  await visitors.more(300, 1);
  expect((await note(site, "first")).status === 200, "a change goes through");
  await expectSeen(visitors, 0);
  expectNoLeak(nodes, "before");

  title("The node in use is killed under load");
  await first.kill();
  await visitors.more(300, 1);
  await expectSeen(visitors, kVisitors);
  expect((await note(site, "while a node is gone")).status === 200, "a change goes through at another node");
  expectNoLeak([second, third], "then");
  const began = Date.now();
  await first.start();
  await expectWhole(first, nodes, began);
  await visitors.more(300, 1);
  await expectSeen(visitors, kVisitors);

  title("The node in use is cut off from the others: visitors reach it still, and it mustn't answer");
  const cutOff = inUse(nodes);
  cutOff.sql("SET GLOBAL wsrep_provider_options = 'gmcast.isolate=1'");
  await until("it has lost its cluster", () => cutOff.status("wsrep_cluster_status") !== "Primary");
  await visitors.more(300, 1, 240);
  await expectSeen(visitors, kVisitors);
  // The one for changes waits there, as nobody changes anything.
  expect(cutOff.connections() <= 1, `all read from another node: ${counts(nodes).join(", ")} connections`);
  const joined = Date.now();
  cutOff.sql("SET GLOBAL wsrep_provider_options = 'gmcast.isolate=0'");
  await expectWhole(cutOff, nodes, joined);
  await visitors.more(300, 1);
  await expectSeen(visitors, kVisitors);

  title("The node in use stops answering: its machine hangs, its port is open");
  const hanging = inUse(nodes);
  hanging.freeze();
  await visitors.more(300, 0, 400);
  const hung = await expectSeen(visitors, kVisitors);
  expect(hung.slowest < kStatement + kSlack, `no answer took longer than ${(kStatement + kSlack) / 1000} s`);
  const thawed = Date.now();
  hanging.thaw();
  await expectWhole(hanging, nodes, thawed);
  await visitors.more(300, 1);
  await expectSeen(visitors, kVisitors);

  title("Two of three nodes are killed at once: what is left mustn't answer");
  const [left] = nodes.filter((node) => node !== first && node !== second);
  await Promise.all([first.kill(), second.kill()]);
  const lost = await until("an answer that fails", async () => {
    const answer = await site.get("list.asp");
    return answer.status === 500 && answer;
  });
  await sleep(10_000);
  const answer = await site.get("list.asp");
  expect(answer.status === 500 && Math.max(answer.ms, lost.ms) < kStatement + kSlack, `a page of the list fails after ${answer.ms} ms`);
  say(`          ${cause(await site.errorOf(answer))}`);
  expect((await site.get("hello.asp")).body.trim() === "hello", "pages without a database go on");
  await visitors.seen();
  const again = Date.now();
  await Promise.all([first.start(), second.start()]);
  await expectWhole(left, nodes, again);
  await until("a page of the list", async () => (await site.get("list.asp")).status === 200);
  await visitors.seen();
  await visitors.more(300, 1);
  await expectSeen(visitors, 0);
  expect((await note(site, "after all")).status === 200, "a change goes through");

  title("After all that");
  await visitors.end();
  await until("notes", async () => (await notes(site)) === first.sql("SELECT COUNT(*) FROM note", "shop"));
  expectNoLeak(nodes, "after");
  await site.end();
  await until("connections end with the site", () => sum(counts(nodes)) === 0);
  expect(true, "no connection outlives the site");
  await Promise.all(nodes.map((node) => node.kill()));
}
