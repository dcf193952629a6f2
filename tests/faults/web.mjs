// Two web processes with one store of sessions, behind nginx: those tests stand with the others of the program.
import { spawnSync } from "node:child_process";
import { existsSync } from "node:fs";
import { join } from "node:path";
import { expect, title } from "./report.mjs";
import { build } from "./processes.mjs";

export async function web() {
  title("One of two web processes is killed under load; their store of sessions is killed, frozen and filled");
  const program = join(build, "test_command");
  if (!existsSync(program)) {
    expect(false, `${program} isn't built: ninja -C ${build} test_command`);
    return;
  }
  const ran = spawnSync(program, ["--gtest_brief=1", "--gtest_filter=BalancerTest.*:SharedSessions*"], { encoding: "utf8", maxBuffer: 1 << 26 });
  for (const line of ran.stdout.split("\n").filter((each) => /answered|PASSED|SKIPPED|FAILED|counted/.test(each))) console.log(`            ${line}`);
  expect(ran.status === 0 && !/SKIPPED/.test(ran.stdout), "tests/command/Balancer_test.cpp and SharedSessions_test.cpp");
}
