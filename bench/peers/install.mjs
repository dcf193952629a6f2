// What the Node peers need from npm. Nothing but better-sqlite3, which is native code, runs a script while it is installed.
import { spawnSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import path from 'node:path';

const readJson = (file) => JSON.parse(readFileSync(file, 'utf8'));

// The lock file tells both, so that a new version with other habits is noticed before anything is fetched.
function checkLock(folder) {
  for (const [name, { license, hasInstallScript }] of Object.entries(readJson(path.join(folder, 'package-lock.json')).packages)) {
    if (name === '') continue;
    if (hasInstallScript && name !== 'node_modules/better-sqlite3') throw new Error(`${name} wants to run a script`);
    if (!/\b(MIT|ISC|Apache-2\.0|BSD-[23]-Clause)\b/.test(license)) throw new Error(`${name} has the licence ${license}`);
  }
}

function npm(folder, ...args) {
  const done = spawnSync('npm', [...args, '--no-fund', '--no-audit', '--foreground-scripts'], { cwd: folder, stdio: 'inherit' });
  if (done.status !== 0) throw new Error(`npm ${args.join(' ')} has failed`);
}

// The modules as package.json pins them; those of an earlier version of it are stale.
function isInstalled(folder) {
  const file = (name) => path.join(folder, 'node_modules', name, 'package.json');
  return Object.entries(readJson(path.join(folder, 'package.json')).dependencies)
    .every(([name, version]) => existsSync(file(name)) && readJson(file(name)).version === version);
}

export function install(folder) {
  const built = path.join(folder, 'node_modules/better-sqlite3/build/Release/better_sqlite3.node');
  checkLock(folder);
  if (!isInstalled(folder)) npm(folder, 'ci', '--ignore-scripts');
  if (!existsSync(built)) npm(folder, 'rebuild', 'better-sqlite3', '--build-from-source', '--ignore-scripts=false');
  if (!existsSync(built)) throw new Error('better-sqlite3 could not be built');
}
