// The browser of a test: Debian's Chromium, pages that note what goes wrong on them, screenshots.
import { mkdirSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const screenshots = join(dirname(fileURLToPath(import.meta.url)), "screenshots");

// In its sandbox, unless we are root or in a container that grants none.
async function launch() {
  const options = {
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: ["--disable-dev-shm-usage", "--disable-gpu"],
    env: { ...process.env, LC_ALL: "C.UTF-8" },  // else the machine's settings decide which names of files it can send
  };
  if (process.getuid() !== 0) {
    try {
      return await chromium.launch({ ...options, chromiumSandbox: true });
    } catch {
      // No sandbox here.
    }
  }
  return chromium.launch({ ...options, chromiumSandbox: false });
}

export async function openBrowser() {
  const browser = await launch();
  // A script's error, what a page's policy forbids it, or a page, image or style that the server doesn't give. Tests compare
  // this with nothing.
  const troubles = [];
  return {
    troubles,
    async newPage(width, height, options = {}) {
      const page = await browser.newPage({ viewport: { width, height }, ...options });
      page.on("pageerror", (error) => troubles.push(String(error)));
      page.on("console", (message) => {
        if (message.text().includes("Content Security Policy")) troubles.push(message.text());
      });
      page.on("response", (response) => {
        if (response.status() >= 400) troubles.push(`${response.status()} ${response.url()}`);
      });
      return page;
    },
    close: () => browser.close(),
  };
}

export async function screenshot(page, name) {
  mkdirSync(screenshots, { recursive: true });
  await page.screenshot({ path: join(screenshots, `${name}.png`) });
}

// Clicks, and waits for the page that comes.
export async function click(page, selector) {
  await Promise.all([page.waitForNavigation(), page.click(selector)]);
}
