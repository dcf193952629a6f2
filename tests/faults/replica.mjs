// A PostgreSQL server with a streaming replica: reads may go to the replica, changes go to the primary.
import { cause, expect, expectSeen, say, title } from "./report.mjs";
import { Postgresql } from "./postgresql.mjs";
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

function expectNoLeak(primary, replica, what) {
  const counts = [primary.connections(), replica.connections()];
  expect(counts[0] + counts[1] <= kThreads * kStrings, `${what}: ${counts[0]} connections at the primary, ${counts[1]} at the replica; ${kThreads * kStrings} in all at most`);
}

// Reads are at the replica again, some time after it is back.
async function expectReadsAtReplica(replica, visitors) {
  const began = Date.now();
  await until("reads at the replica", async () => {
    await visitors.more(20);
    return replica.connections() >= kThreads;
  }, 120).then(
    () => expect(true, `all ${kThreads} script threads read from the replica again, ${Math.round((Date.now() - began) / 1000)} s after it was back`),
    () => expect(false, `${replica.connections()} of ${kThreads} script threads read from the replica again`),
  );
}

export async function replica() {
  const primary = await Postgresql.make();
  primary.fill();
  const standby = await primary.standby();
  await until("the replica streams", () => primary.sql("SELECT COUNT(*) FROM pg_stat_replication WHERE state = 'streaming'") === "1");
  const server = `Provider=PostgreSQL;Server=127.0.0.1,127.0.0.1;Port=${primary.port},${standby.port};Database=postgres;User ID=shop`;
  const site = await Site.serve({ Items: `${server};Mode=Read`, Changes: server });

  title("PostgreSQL with a replica, all well");
  const visitors = new Visitors(site, kVisitors);
  await visitors.more(300, 1);
  expect((await note(site, "first")).status === 200, "a change goes through");
  await expectSeen(visitors, 0);
  expect(standby.connections() === kThreads, `reads go to the replica: ${standby.connections()} connections there`);
  expectNoLeak(primary, standby, "before");

  title("The replica is killed under load");
  await standby.kill();
  await visitors.more(300, 1);
  await expectSeen(visitors, kVisitors);
  expect(primary.connections() >= 1, `reads go to the primary: ${primary.connections()} connections there`);
  await standby.start();
  await expectReadsAtReplica(standby, visitors);
  await expectSeen(visitors, kVisitors);

  title("The replica stops answering: its machine hangs, its port is open");
  standby.freeze();
  await visitors.more(300, 0, 240);
  const hung = await expectSeen(visitors, 2 * kVisitors);
  expect(hung.slowest < kStatement + kSlack, `no answer took longer than ${(kStatement + kSlack) / 1000} s`);
  standby.thaw();
  await expectReadsAtReplica(standby, visitors);
  await expectSeen(visitors, kVisitors);

  title("The replica is behind");
  const before = await notes(site);
  standby.sql("SELECT pg_wal_replay_pause()");
  await note(site, "while it is behind");
  await visitors.more(300, 1);
  expect(await notes(site) === before, `what reads see is the replica's: ${before} notes`);
  const atPrimary = await site.value("Changes", "SELECT COUNT(*) FROM note");
  expect(atPrimary === `${Number(before) + 1}`, `a connection that may change sees its change: ${atPrimary} notes`);
  await expectSeen(visitors, 0);
  standby.sql("SELECT pg_wal_replay_resume()");
  await until("the replica catches up", async () => (await notes(site)) === atPrimary);
  say("          it has caught up");

  title("The primary is killed under load");
  await primary.kill();
  await visitors.more(300, 1);
  await expectSeen(visitors, 0);
  const refused = await note(site, "nobody takes it");
  expect(refused.status === 500 && refused.ms < kStatement + kSlack, `a change is refused after ${refused.ms} ms`);
  say(`          ${cause(refused.text)}`);
  expect((await site.get("hello.asp")).body.trim() === "hello", "pages without a database go on");

  title("Both are gone");
  await standby.kill();
  await sleep(2000);
  const gone = await site.get("list.asp");
  const text = await site.errorOf(gone);
  expect(gone.status === 500 && gone.ms < kStatement + kSlack, `a page of the list fails after ${gone.ms} ms`);
  say(`          ${cause(text)}`);
  expect(text.match(/Connection refused/g)?.length >= 2, "the log has what the system said of both");
  await visitors.seen();
  const began = Date.now();
  await primary.start();
  await until("a page of the list", async () => (await site.get("list.asp")).status === 200);
  say(`          the list is back ${Date.now() - began} ms after the primary was started`);
  expect((await until("a change", async () => { const answer = await note(site, "back"); return answer.status === 200 && answer; })).status === 200, "and so are changes");
  await standby.start();
  await visitors.seen();
  await expectReadsAtReplica(standby, visitors);
  await visitors.more(300, 1);
  await expectSeen(visitors, kVisitors);

  title("After all that");
  await visitors.end();
  expectNoLeak(primary, standby, "after");
  await site.end();
  await until("connections end with the site", () => primary.connections() + standby.connections() === 0);
  expect(true, "no connection outlives the site");
  await Promise.all([primary.kill(), standby.kill()]);
}
