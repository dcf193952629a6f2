// The pages for those who keep the catalogue, and forms with files as a browser posts them: what was sent is compared with
// what lies in the database and on the disk.
import assert from "node:assert/strict";
import { randomFillSync } from "node:crypto";
import { existsSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { click, openBrowser, screenshot } from "./browser.mjs";
import { openShop, repository, signIn } from "./shop.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

// A form with two fields for files, and what arrives of it. What has content is written too.
const twoFiles = `<!DOCTYPE html><html lang="en"><head><title>Two files</title><link rel="icon" href="data:,"></head><body>
<form method="post" enctype="multipart/form-data"><input name="text" id="text"><input type="file" name="f" id="f">
<input type="file" name="g" id="g"><button>Send</button></form>
<% if (String(Request.ServerVariables("REQUEST_METHOD")) === "POST") {
  var u = Server.CreateObject("Varnel.Upload"), told = [["text", u.GetFormVar("text")]];
  for (var name of ["f", "g"]) {
    var size = u.GetFileBinary(name).length;
    told.push([name, u.GetFormVar(name), u.GetFileContentType(name), size]);
    if (size > 0) u.WriteFileToFileSystem(name, Server.MapPath("images/products/" + name));
  }
%><pre><%= Server.HTMLEncode(JSON.stringify(told)) %></pre><% } %></body></html>`;

let shop;
let browser;
let page;
let folder;

before(async () => {
  folder = mkdtempSync(join(tmpdir(), "varnel-files-"));
  shop = await openShop({
    prepare(site) {
      writeFileSync(join(site, "pages/two-files.asp"), twoFiles);
      const settings = join(site, "site.toml");
      writeFileSync(settings, readFileSync(settings, "utf8").replace("[server]", "[server]\nmax_body = 30000000"));
    },
  });
  browser = await openBrowser();
  page = await browser.newPage(1440, 900);
  await signIn(page, shop, "clerk");
});

after(async () => {
  await browser?.close();
  await shop?.close();
  rmSync(folder, { recursive: true, force: true });
});

const text = (selector) => page.locator(selector).allInnerTexts();
const open = (address) => page.goto(shop.url + address);
const rows = async () => (await page.locator(".rows tr").allInnerTexts()).map((row) => row.split("\t").map((cell) => cell.trim()));

// A file for the browser to send.
function file(name, content) {
  const path = join(folder, name);
  writeFileSync(path, content);
  return path;
}

async function sendTwo({ words = "", f, g }) {
  await open("two-files.asp");
  await page.fill("#text", words);
  if (f) await page.setInputFiles("#f", f);
  if (g) await page.setInputFiles("#g", g);
  await click(page, "button");
  return JSON.parse(await page.locator("pre").innerText());
}

const written = (field, name) => readFileSync(join(shop.site, "pages/images/products", field, name));

function noise(size) {
  const bytes = Buffer.alloc(size);
  randomFillSync(bytes);
  return bytes;
}

test("a browser's form brings two files byte for byte, and a text", async () => {
  const bytes = Buffer.concat([Buffer.from("\r\n--\r\n\0\"", "latin1"), noise(5000), Buffer.from("\r\n")]);
  const told = await sendTwo({ words: 'a "b" & c', f: file("one.bin", bytes), g: file("two.csv", "1;2\r\n") });
  assert.deepEqual(told, [["text", 'a "b" & c'], ["f", "one.bin", "application/octet-stream", bytes.length], ["g", "two.csv", "text/csv", 5]]);
  assert.ok(written("f", "one.bin").equals(bytes));
  assert.equal(written("g", "two.csv").toString(), "1;2\r\n");
});

test("a file input left empty is a file without name and content", async () => {
  const told = await sendTwo({ g: file("three.txt", "3") });
  assert.deepEqual(told, [["text", ""], ["f", "", "application/octet-stream", 0], ["g", "three.txt", "text/plain", 1]]);
});

test("a name in UTF-8 is read by the session's code page", async () => {
  const told = await sendTwo({ words: "naïve", f: file("Größe 5 €.txt", "x"), g: file("日本.txt", "y") });
  assert.deepEqual(told.map((each) => each[1]), ["naÃ¯ve", "GrÃ¶ÃŸe 5 â‚¬.txt", "æ—¥æœ¬.txt"]);
  assert.equal(written("f", "GrÃ¶ÃŸe 5 â‚¬.txt").toString(), "x");
  assert.equal(written("g", "æ—¥æœ¬.txt").toString(), "y");
});

test("a file of twenty megabytes arrives whole", async () => {
  const bytes = noise(20 << 20);
  const told = await sendTwo({ f: file("large.bin", bytes) });
  assert.deepEqual(told[1], ["f", "large.bin", "application/octet-stream", 20 << 20]);
  assert.ok(written("f", "large.bin").equals(bytes));
});

// --- Import

const prices = () => shop.query("SELECT COUNT(*) AS N FROM CATALOGPRODUCTPRICE")[0].N;
const someProducts = () =>
  shop.query("SELECT PRODUCTID AS ID, BUYFROMPARTNUMBER AS NUMBER, PRODUCTDESCRIPTION AS NAME FROM PRODUCT WHERE BUYFROMPARTNUMBER IN (SELECT BUYFROMPARTNUMBER FROM PRODUCT GROUP BY 1 HAVING COUNT(*) = 1) LIMIT 3");

async function sendList(content, button) {
  await page.setInputFiles("#list", file("prices.csv", content));
  await click(page, `button:text-is("${button}")`);
}

test("a price list with mistakes is told line by line and changes nothing", async () => {
  const before = prices();
  const [good] = someProducts();
  await open("");
  await click(page, 'footer a:text-is("Import prices")');
  const list = ["Number;Group;From;Price", `${good.NUMBER};;2027-02-01;12,50`, "no-such;;2027-02-01;1", `${good.NUMBER};GOLD;2027-02-01;1`,
    `${good.NUMBER};DEALER;2027-02-30;1`, `${good.NUMBER};DEALER;2027-02-01;cheap`, "only;two", '"<b>";;2027-02-01;"1'].join("\r\n");
  await sendList(list, "Import");
  assert.deepEqual(await text(".note"), ["Nothing was taken over: some lines can't be read."]);
  const shown = (await rows()).slice(1);
  assert.deepEqual(shown.map((row) => row[0]), ["2", "3", "4", "5", "6", "7", "8"]);
  assert.deepEqual(shown.map((row) => row[6]), ["Good", "No such order number", "No such group", "No such day", "Not a price", "Not four fields", "A quoted field has no end"]);
  assert.equal(shown[0][2], good.NAME);
  assert.equal(await page.locator(".go").count(), 0);
  assert.equal(prices(), before);
  await screenshot(page, "import-mistakes-1440");
  await page.setViewportSize({ width: 375, height: 900 });
  await screenshot(page, "import-mistakes-375");
  await page.setViewportSize({ width: 1440, height: 900 });
});

test("a sound price list is shown, and taken over at a click", async () => {
  const products = someProducts();
  const before = prices();
  await open("import.asp");
  const lines = products.map((product, index) => `"${product.NUMBER}",DEALER,2031-01-0${index + 1},${index + 1}.25`);
  await sendList(`\uFEFF${lines.join("\r\n")}\r\n`, "Preview");
  assert.deepEqual(await text(".note"), ["3 lines, all of them good."]);
  assert.deepEqual((await rows()).slice(1).map((row) => row[2]), products.map((product) => product.NAME));
  assert.equal(prices(), before);
  await screenshot(page, "import-1440");
  await page.setViewportSize({ width: 375, height: 900 });
  await screenshot(page, "import-375");
  await page.setViewportSize({ width: 1440, height: 900 });
  await click(page, 'button:text-is("Import these 3 prices")');
  assert.deepEqual(await text(".note"), ["3 prices were taken over."]);
  assert.deepEqual(
    shop.query("SELECT PRODUCTID AS ID, PRICE FROM CATALOGPRODUCTPRICE WHERE PRICEEFFECTIVEDATE >= '2031-01-01' ORDER BY PRICEEFFECTIVEDATE"),
    products.map((product, index) => ({ ID: product.ID, PRICE: index + 1.25 })),
  );
  assert.equal(prices(), before + 3);
});

test("an empty price list is told so", async () => {
  await open("import.asp");
  await sendList("\r\n", "Preview");
  assert.deepEqual(await text(".note"), ["The file holds no line."]);
});

// --- The image of a product

async function sendImage(name, content) {
  await page.setInputFiles("#image", file(name, content));
  await click(page, 'button:text-is("Send")');
}

const picture = join(repository, "site/pages/images/BtnNavBarNavyNext.gif");
const imageOf = (id) => shop.query(`SELECT IMAGEFILENAME AS F FROM PRODUCT WHERE PRODUCTID = ${id}`)[0].F;

test("an image is kept, shown at once and on the product's sheet", async () => {
  const [product] = someProducts();
  await open("");
  await click(page, 'footer a:text-is("Product image")');
  await page.fill("#product", String(product.ID));
  const bytes = readFileSync(picture);
  await sendImage("Front view.gif", bytes);
  assert.deepEqual(await text(".note"), ["The image was kept."]);
  assert.equal(imageOf(product.ID), `products/${product.ID}/Front view.gif`);
  assert.ok(readFileSync(join(shop.site, "pages/images", imageOf(product.ID))).equals(bytes));
  const width = () => page.locator("main img").evaluate((image) => image.naturalWidth);
  assert.ok((await width()) > 0);
  await screenshot(page, "image-upload-1440");
  await page.setViewportSize({ width: 375, height: 900 });
  await screenshot(page, "image-upload-375");
  await page.setViewportSize({ width: 1440, height: 900 });
  await click(page, `a:text-is("${product.NAME}")`);
  assert.ok((await page.locator("img.picture").evaluate((image) => image.naturalWidth)) > 0);
});

test("what is no image is refused, with the reason", async () => {
  const [, product] = someProducts();
  const before = imageOf(product.ID);
  await open(`image-upload.asp?product=${product.ID}`);
  const refusals = [
    ["page.gif", "<script>alert(1)</script>", "This is no PNG, JPEG or GIF image, or its name says otherwise."],
    ["page.asp", readFileSync(picture), "This is no PNG, JPEG or GIF image, or its name says otherwise."],
    ["Größe.gif", readFileSync(picture), "The file's name holds characters that it may not."],
    ["empty.gif", "", "No file was sent, or an empty one."],
  ];
  for (const [name, content, reason] of refusals) {
    await sendImage(name, content);
    assert.deepEqual(await text(".note"), [reason], name);
  }
  await page.fill("#product", "999999999");
  await sendImage("front.gif", readFileSync(picture));
  assert.match((await text(".note"))[0], /There is no such product/);
  assert.equal(imageOf(product.ID), before);
  assert.ok(!existsSync(join(shop.site, "pages/images/products", String(product.ID))));
  assert.ok(!readdirSync(join(shop.site, "pages/images/products")).includes("999999999"));
});

// --- Report and links

test("the report holds all products of a manufacturer", async () => {
  const [maker] = shop.query(
    "SELECT M.MANUFACTURERID AS ID, M.MANUFACTURERNAME AS NAME, COUNT(*) AS N FROM MANUFACTURER M JOIN PRODUCT USING (MANUFACTURERID) GROUP BY 1 HAVING N BETWEEN 400 AND 2000 ORDER BY N DESC LIMIT 1",
  );
  await open("");
  await click(page, 'footer a:text-is("Report")');
  await page.selectOption("#manufacturer", String(maker.ID));
  await click(page, 'button:text-is("Show")');
  assert.deepEqual(await text("main h2"), [maker.NAME]);
  const all = shop.query(`SELECT PARTNUMBER AS P, PRODUCTDESCRIPTION AS D FROM PRODUCT WHERE MANUFACTURERID = ${maker.ID} ORDER BY PRODUCTDESCRIPTION`);
  const shown = await page.locator(".rows tr").evaluateAll((list) => list.map((row) => [...row.cells].map((cell) => cell.textContent.trim())));
  assert.equal(shown.length, maker.N + 1);
  const words = (value) => value.trim().replace(/\s+/g, " ");
  assert.deepEqual(shown.slice(1).map((row) => words(row[1])), all.map((row) => words(row.D)));
  assert.deepEqual(shown.slice(1).map((row) => row[0]).sort(), all.map((row) => row.P).sort());
  assert.equal(await page.inputValue("#manufacturer"), String(maker.ID));
  await screenshot(page, "report-1440");
  await page.setViewportSize({ width: 375, height: 900 });
  await screenshot(page, "report-375");
  await page.setViewportSize({ width: 1440, height: 900 });
});

test("links are whole addresses, and the option that was chosen stays chosen", async () => {
  await open("");
  await click(page, 'footer a:text-is("Links and options")');
  assert.deepEqual(await page.locator(".facts a").evaluateAll((list) => list.map((each) => each.href)), [
    "http://127.0.0.1:8080/shop/index.asp",
    "http://127.0.0.1:8080/shop/quick-order.asp?search=8086%2A&catalog=1",
    "http://127.0.0.1:8080/shop/quick-order.asp?search=",
    "http://127.0.0.1:8080/shop/settings.asp",
  ]);
  assert.equal((await text(".facts td")).at(-1), "a=1&b=x+y");
  await page.selectOption("#catalog", { label: "USB" });
  await click(page, 'button:text-is("Show")');
  assert.equal(await page.locator("#catalog option:checked").innerText(), "USB");
  await screenshot(page, "links-1440");
  await page.setViewportSize({ width: 375, height: 900 });
  await screenshot(page, "links-375");
  await page.setViewportSize({ width: 1440, height: 900 });
});

test("a form with a file from elsewhere changes nothing", async () => {
  const before = prices();
  const [product] = someProducts();
  const form = new FormData();
  form.set("token", "0".repeat(32));
  form.set("do", "import");
  form.set("list", new Blob([`${product.NUMBER};;2033-01-01;1`], { type: "text/csv" }), "l.csv");
  const answer = await fetch(`${shop.url}import.asp`, { method: "POST", body: form });
  assert.equal(answer.status, 403);
  const headers = { "Content-Type": "multipart/form-data; boundary=b" };
  const unreadable = await fetch(`${shop.url}import.asp`, { method: "POST", body: "--b\r\n\r\n--b--\r\n", headers });
  assert.equal(unreadable.status, 403);
  assert.equal(prices(), before);
});

test("accessible: axe finds nothing serious, and nothing scrolls sideways in either width", async () => {
  const [product] = someProducts();
  const maker = shop.query("SELECT MANUFACTURERID AS ID FROM PRODUCT GROUP BY 1 HAVING COUNT(*) BETWEEN 20 AND 40 LIMIT 1")[0].ID;
  for (const width of [1440, 375]) {
    await page.setViewportSize({ width, height: 900 });
    for (const address of ["import.asp", `image-upload.asp?product=${product.ID}`, `report.asp?manufacturer=${maker}`, "links.asp"]) {
      await open(address);
      await page.evaluate(axe);
      const { violations } = await page.evaluate(() => window.axe.run());
      const grave = violations.filter((each) => ["serious", "critical"].includes(each.impact));
      assert.deepEqual(grave.map((each) => `${each.id}: ${each.nodes[0].html}`), [], `${address} at ${width}`);
      const overflow = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
      assert.equal(overflow, 0, `${address} at ${width} scrolls sideways`);
    }
  }
});

test("no page had a script error or a missing file", () => {
  assert.deepEqual(browser.troubles, []);
});
