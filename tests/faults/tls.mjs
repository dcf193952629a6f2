// A PostgreSQL server that is reached by TLS: only the one that an authority of ours vouches for, under its name.
import { copyFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { expect, title } from "./report.mjs";
import { Postgresql } from "./postgresql.mjs";
import { giveToServer, run, temporaryFolder } from "./processes.mjs";
import { Site } from "./site.mjs";

const openssl = (...args) => run("openssl", args);

// An authority's certificate and its key.
function makeAuthority(folder, name) {
  const file = join(folder, name);
  openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", `/CN=${name}`, "-keyout", `${file}.key`, "-out", `${file}.pem`);
  return file;
}

// A server's certificate for `host`.
function makeCertificate(folder, authority, host) {
  const file = join(folder, "server");
  openssl("req", "-newkey", "rsa:2048", "-nodes", "-subj", `/CN=${host}`, "-keyout", `${file}.key`, "-out", `${file}.csr`);
  writeFileSync(`${file}.ext`, `subjectAltName=DNS:${host}\n`);
  openssl("x509", "-req", "-in", `${file}.csr`, "-CA", `${authority}.pem`, "-CAkey", `${authority}.key`, "-CAcreateserial", "-days", "2", "-extfile", `${file}.ext`, "-out", `${file}.pem`);
  return file;
}

const kIsEncrypted = "SELECT ssl FROM pg_stat_ssl WHERE pid = pg_backend_pid()";

export async function tls() {
  title("PostgreSQL by TLS, with SSL Mode=verify-full");
  const folder = temporaryFolder();
  const ours = makeAuthority(folder, "ours");
  const theirs = makeAuthority(folder, "theirs");
  const certificate = makeCertificate(folder, ours, "localhost");
  const server = await Postgresql.make();
  for (const kind of ["pem", "key"]) {
    copyFileSync(`${certificate}.${kind}`, join(server.data, `server.${kind}`));
    giveToServer(join(server.data, `server.${kind}`));
  }
  const base = `Provider=PostgreSQL;Port=${server.port};Database=postgres;User ID=shop`;
  const full = `${base};SSL Mode=verify-full`;
  const site = await Site.serve({
    Right: `${full};Server=localhost;SSL Root Cert=${ours}.pem`,
    OtherAuthority: `${full};Server=localhost;SSL Root Cert=${theirs}.pem`,
    OtherName: `${full};Server=127.0.0.1;SSL Root Cert=${ours}.pem`,
    NoAuthority: `${full};Server=localhost;SSL Root Cert=${folder}/none.pem`,
    Plain: `${base};Server=127.0.0.1;SSL Mode=disable`,
  });
  const expectRefused = async (connection, what, words) => {
    const answer = await site.sql(connection, "SELECT 1");
    expect(answer.status === 500 && words.test(answer.text), `${what}: ${answer.status}, ${answer.text.slice(0, 260)}`);
  };

  await expectRefused("Right", "a server without TLS is refused", /server does not support SSL/);
  await server.kill();
  server.settings.push("ssl=on", "ssl_cert_file=server.pem", "ssl_key_file=server.key");
  server.setAccess(["hostssl all all 127.0.0.1/32 trust", "hostssl all all ::1/128 trust"]);
  await server.start();
  expect((await site.value("Right", kIsEncrypted)).toLowerCase() === "true", "the right authority and the right name: served, and the server says that it is encrypted");
  await expectRefused("OtherAuthority", "another authority is refused", /certificate verify failed/);
  await expectRefused("OtherName", "another name is refused", /does not match host name/);
  await expectRefused("NoAuthority", "no authority is refused", /root certificate file .* does not exist/);
  await expectRefused("Plain", "the server takes nobody without TLS", /no pg_hba.conf entry/);
  await site.end();
  await server.kill();
}
