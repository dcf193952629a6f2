// PostgreSQL servers of our own.
import { existsSync, readdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { end, family, freePort, run, runAsPlainUser, serverFolder, signal, start, temporaryFolder, until } from "./processes.mjs";
import { kRows, nameOf } from "./site.mjs";

const kVersions = "/usr/lib/postgresql";

function tool(name) {
  const versions = existsSync(kVersions) ? readdirSync(kVersions).filter((each) => existsSync(join(kVersions, each, "bin/initdb"))) : [];
  if (versions.length === 0) throw new Error("PostgreSQL isn't installed");
  return join(kVersions, versions.sort((a, b) => a - b).at(-1), "bin", name);
}

export class Postgresql {
  static async make(settings = []) {
    const server = new Postgresql();
    await server.place(settings);
    runAsPlainUser(tool("initdb"), ["-D", server.data, "-U", "shop", "-A", "trust", "-E", "UTF8", "--locale=C", "--no-sync"], { env: { ...process.env, LC_ALL: "C" } });
    await server.start();
    return server;
  }

  // A standby that streams from this server.
  async standby() {
    const server = new Postgresql();
    await server.place(this.settings);
    runAsPlainUser(tool("pg_basebackup"), ["-D", server.data, "-R", "-h", "127.0.0.1", "-p", `${this.port}`, "-U", "shop", "--checkpoint=fast", "--no-sync"]);
    await server.start();
    return server;
  }

  async place(settings) {
    this.settings = settings;
    this.port = await freePort();
    this.folder = serverFolder(temporaryFolder(), "postgresql");
    this.data = join(this.folder, "data");
    this.log = join(this.folder, "server.log");
  }

  async start() {
    const settings = ["listen_addresses=127.0.0.1", "fsync=off", "max_connections=60", "shared_buffers=32MB", ...this.settings];
    const args = ["-D", this.data, "-p", `${this.port}`, "-k", this.folder, ...settings.flatMap((each) => ["-c", each])];
    // What a killed server left of its processes must be gone first.
    await until("PostgreSQL starts", async () => {
      this.process = start(tool("postgres"), args, this.log);
      await until("PostgreSQL", () => this.process.exitCode !== null || this.isReady());
      return this.process.exitCode === null;
    });
  }

  isReady() {
    try {
      run(tool("pg_isready"), ["-q", "-h", "127.0.0.1", "-p", `${this.port}`]);
      return true;
    } catch {
      return false;
    }
  }

  // All that it consists of, at once.
  kill() { return end(this.process); }
  freeze() { this.frozen = family(this.process.pid); signal(this.frozen, "SIGSTOP"); }
  thaw() { signal(this.frozen, "SIGCONT"); }

  sql(text) {
    return run(tool("psql"), ["-X", "-q", "-At", "-v", "ON_ERROR_STOP=1", "-h", "127.0.0.1", "-p", `${this.port}`, "-U", "shop", "-d", "postgres", "-c", text]).trim();
  }

  fill() {
    this.sql("CREATE TABLE item (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    this.sql(`INSERT INTO item SELECT n, ${nameOf("n")} FROM generate_series(1, ${kRows}) AS n`);
    this.sql("CREATE INDEX item_by_name ON item (name NULLS FIRST, id)");
    this.sql("CREATE TABLE note (id SERIAL PRIMARY KEY, text VARCHAR(50) NOT NULL)");
    this.sql("ANALYZE");
  }

  // Connections of the site's.
  connections() { return Number(this.sql("SELECT COUNT(*) FROM pg_stat_activity WHERE application_name = 'varnel'")); }

  setAccess(lines) { writeFileSync(join(this.data, "pg_hba.conf"), `${lines.join("\n")}\n`); }
}
