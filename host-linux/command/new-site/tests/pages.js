// Run by:  varnel test [%Name%]
// Each file here has a copy of the site of its own; docs/testing.md of Varnel tells what a test can do.

test("the first page greets by name", () => {
  assert.contains(site.get("index.asp").text, "Hello, world!");
  assert.contains(site.get("index.asp?name=Ann+%26+Bob").text, "Hello, Ann & Bob!");
});

test("the list leads to its next page", () => {
  const first = site.get("index.asp").click("A table as a grid");
  assert.equal(first.status, 200);
  assert.contains(first.rows(), ["1", "H", "Hydrogen", "Nonmetal", "1.008"]);
  const second = first.click("Next page");
  assert.contains(second.rows(), ["13", "Al", "Aluminium", "Metal", "26.982"]);
});

test("the other list is searched", () => {
  const found = site.get("index.asp").click("The same table as a list to search in").fill({ "L1-q": "hydro" }).submit("Show");
  assert.contains(found.rows(), ["1", "H", "Hydrogen", "Nonmetal", "1.008"]);
});
