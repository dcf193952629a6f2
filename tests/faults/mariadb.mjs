// Nodes of a MariaDB Galera cluster of our own.
import { existsSync, mkdirSync, readFileSync, readdirSync } from "node:fs";
import { join } from "node:path";
import { build, end, family, freePort, run, runAsPlainUser, serverFolder, signal, start, temporaryFolder, until } from "./processes.mjs";
import { kRows, nameOf } from "./site.mjs";

const kServer = "/usr/sbin/mariadbd";
const kProvider = "/usr/lib/galera/libgalera_smm.so";

// The scripts by which a node hands its state to another are in the package of the whole server, whose service nobody wants here:
// they are only unpacked.
function transferScripts() {
  const folder = join(build, "mariadb-server");
  const scripts = join(folder, "usr/bin");
  if (existsSync(join(scripts, "wsrep_sst_rsync"))) return scripts;
  mkdirSync(folder, { recursive: true });
  run("apt-get", ["-q", "download", "mariadb-server"], { cwd: folder });
  const archive = readdirSync(folder).find((name) => name.endsWith(".deb"));
  run("dpkg-deb", ["-x", join(folder, archive), folder]);
  return scripts;
}

export class Cluster {
  static async make(count) {
    if (!existsSync(kServer) || !existsSync(kProvider)) throw new Error("MariaDB with Galera isn't installed");
    const cluster = new Cluster();
    cluster.nodes = [];
    for (let i = 0; i < count; ++i) {
      const node = new Node();
      await node.place(cluster, `node${i + 1}`);
      cluster.nodes.push(node);
    }
    const [first, ...others] = cluster.nodes;
    await first.start(true);
    for (const node of others) await node.start();
    return cluster;
  }
}

class Node {
  async place(cluster, name) {
    this.cluster = cluster;
    this.name = name;
    this.port = await freePort();
    this.groupPort = await freePort();
    this.transferPort = await freePort();
    this.stepsPort = await freePort();
    this.folder = serverFolder(temporaryFolder(), name);
    this.socket = join(this.folder, "socket");
    this.log = join(this.folder, "server.log");
    runAsPlainUser("mariadb-install-db", ["--no-defaults", "--skip-test-db", "--auth-root-authentication-method=normal", `--datadir=${join(this.folder, "data")}`]);
  }

  args(isFirst) {
    const members = isFirst ? "" : this.cluster.nodes.map((node) => `127.0.0.1:${node.groupPort}`).join(",");
    return [
      "--no-defaults", `--datadir=${join(this.folder, "data")}`, `--socket=${this.socket}`, `--pid-file=${join(this.folder, "pid")}`,
      `--port=${this.port}`, "--bind-address=127.0.0.1", "--max-connections=40", "--innodb-flush-log-at-trx-commit=2",
      "--innodb-buffer-pool-size=32M", "--performance-schema=OFF", "--binlog-format=ROW", "--innodb-autoinc-lock-mode=2",
      "--wsrep-on=ON", `--wsrep-provider=${kProvider}`, "--wsrep-cluster-name=faults", `--wsrep-cluster-address=gcomm://${members}`,
      `--wsrep-node-name=${this.name}`, `--wsrep-node-address=127.0.0.1:${this.groupPort}`, "--wsrep-sst-method=rsync",
      `--wsrep-sst-receive-address=127.0.0.1:${this.transferPort}`,
      `--wsrep-provider-options=gmcast.listen_addr=tcp://127.0.0.1:${this.groupPort};ist.recv_addr=127.0.0.1:${this.stepsPort};gcache.size=16M`,
    ];
  }

  // The first one makes the cluster, the others join it.
  async start(isFirst = false) {
    const path = `${transferScripts()}:${process.env.PATH}:/usr/sbin:/sbin`;
    this.process = start(kServer, this.args(isFirst), this.log, { env: { PATH: path } });
    await until(`${this.name} is in the cluster`, () => {
      if (this.process.exitCode !== null) throw new Error(`${this.name} ended: ${readFileSync(this.log, "utf8").slice(-2000)}`);
      return this.isSynced();
    }, 120);
  }

  kill() { return end(this.process); }
  freeze() { this.frozen = family(this.process.pid); signal(this.frozen, "SIGSTOP"); }
  thaw() { signal(this.frozen, "SIGCONT"); }

  sql(text, database = "") {
    return run("mariadb", ["--no-defaults", "-N", "-B", "-u", "root", `--socket=${this.socket}`, "-e", text, ...(database ? [database] : [])]).trim();
  }

  status(name) { return this.sql(`SHOW STATUS LIKE '${name}'`).split("\t")[1] ?? ""; }

  isSynced() {
    try {
      return this.status("wsrep_local_state_comment") === "Synced";
    } catch {
      return false;
    }
  }

  size() { return Number(this.status("wsrep_cluster_size")); }
  connections() { return Number(this.sql("SELECT COUNT(*) FROM information_schema.processlist WHERE user = 'shop'")); }

  fill() {
    this.sql("CREATE DATABASE shop CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin; CREATE USER shop@127.0.0.1 IDENTIFIED BY 'secret'; GRANT ALL ON shop.* TO shop@127.0.0.1");
    this.sql("CREATE TABLE item (id INT NOT NULL PRIMARY KEY, name VARCHAR(20), KEY item_by_name (name, id))", "shop");
    this.sql(`INSERT INTO item SELECT seq, ${nameOf("seq")} FROM seq_1_to_${kRows}`, "shop");
    this.sql("CREATE TABLE note (id INT NOT NULL AUTO_INCREMENT PRIMARY KEY, text VARCHAR(50) NOT NULL)", "shop");
    this.sql("ANALYZE TABLE item", "shop");
  }
}
