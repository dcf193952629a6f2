// The grammar of pages for editors, by the tokenizer that editors use. The grammars of HTML and JavaScript that it builds
// upon are the editors' own; these few rules stand for them.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { test } from "node:test";
import oniguruma from "vscode-oniguruma";
import textmate from "vscode-textmate";

const require = createRequire(import.meta.url);

const html = {
  scopeName: "text.html.basic",
  patterns: [
    { name: "comment.block.html", begin: "<!--", end: "-->" },
    {
      name: "meta.tag.html",
      begin: "</?[a-z]+",
      end: ">",
      patterns: [
        { name: "string.quoted.double.html", begin: '"', end: '"' },
        { name: "string.quoted.single.html", begin: "'", end: "'" },
      ],
    },
  ],
};

const script = {
  scopeName: "source.js",
  patterns: [
    { name: "comment.line.double-slash.js", begin: "//", end: "(?=$)" },
    { name: "comment.block.js", begin: "/\\*", end: "\\*/" },
    { name: "string.quoted.double.js", begin: '"', end: '"', patterns: [{ match: "\\\\." }] },
    { name: "keyword.control.js", match: "\\b(var|if|for|while|return|function)\\b" },
    { name: "constant.numeric.js", match: "\\b\\d+\\b" },
  ],
};

const file = new URL("../../editors/varnel-page.tmLanguage.json", import.meta.url);

async function openGrammar() {
  await oniguruma.loadWASM(readFileSync(require.resolve("vscode-oniguruma/release/onig.wasm")).buffer);
  const registry = new textmate.Registry({
    onigLib: Promise.resolve({
      createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
      createOnigString: (text) => new oniguruma.OnigString(text),
    }),
    loadGrammar: async (scope) => {
      if (scope === "text.html.varnel") return textmate.parseRawGrammar(readFileSync(file, "utf8"), "page.json");
      return { "text.html.basic": html, "source.js": script }[scope];
    },
  });
  return registry.loadGrammar("text.html.varnel");
}

const grammar = await openGrammar();

// The pieces of a page with the scopes that they have beside the page's own: "text: scope scope".
function pieces(page) {
  let state = textmate.INITIAL;
  const found = [];
  for (const line of page.split("\n")) {
    const { tokens, ruleStack } = grammar.tokenizeLine(line, state);
    state = ruleStack;
    for (const { startIndex, endIndex, scopes } of tokens) {
      const text = line.slice(startIndex, endIndex).trim();
      if (text !== "") found.push(`${text}: ${scopes.slice(1).join(" ")}`.trim());
    }
  }
  return found;
}

const begin = "meta.embedded.block.varnel punctuation.section.embedded.begin.varnel";
const end = "meta.embedded.block.varnel punctuation.section.embedded.end.varnel";
const inside = "meta.embedded.block.varnel source.js";

test("a block is JavaScript, over several lines too", () => {
  assert.deepEqual(pieces("a<%\nvar n = 1;\n%>b"), [
    "a:",
    `<%: ${begin}`,
    `var: ${inside} keyword.control.js`,
    `n =: ${inside}`,
    `1: ${inside} constant.numeric.js`,
    `;: ${inside}`,
    `%>: ${end}`,
    "b:",
  ]);
});

test("a value is JavaScript, encoded or not, with the line break or without", () => {
  assert.deepEqual(pieces("<%= 1 %><%: 2 -%>"), [
    `<%=: ${begin}`,
    `1: ${inside} constant.numeric.js`,
    `%>: ${end}`,
    `<%:: ${begin}`,
    `2: ${inside} constant.numeric.js`,
    `-%>: ${end}`,
  ]);
});

test("without a blank a minus belongs to the script", () => {
  assert.deepEqual(pieces("<% n--%>"), [`<%: ${begin}`, `n--: ${inside}`, `%>: ${end}`]);
});

test("a block is found in a tag and in its attributes", () => {
  const tag = "meta.tag.html";
  const quoted = `${tag} string.quoted.double.html`;
  assert.deepEqual(pieces('<a <% if %>href="x<%: 1 %>">'), [
    `<a: ${tag}`,
    `<%: ${tag} ${begin}`,
    `if: ${tag} ${inside} keyword.control.js`,
    `%>: ${tag} ${end}`,
    `href=: ${tag}`,
    `": ${quoted}`,
    `x: ${quoted}`,
    `<%:: ${quoted} ${begin}`,
    `1: ${quoted} ${inside} constant.numeric.js`,
    `%>: ${quoted} ${end}`,
    `": ${quoted}`,
    `>: ${tag}`,
  ]);
});

test("a comment of one line ends with its block", () => {
  assert.deepEqual(pieces("<% // 1 %>a"), [`<%: ${begin}`, `// 1: ${inside} comment.line.double-slash.js`, `%>: ${end}`, "a:"]);
});

test("a text of the script holds no block", () => {
  const text = `${inside} string.quoted.double.js`;
  assert.deepEqual(pieces('<% "<!--" %>'), [`<%: ${begin}`, `": ${text}`, `<!--: ${text}`, `": ${text}`, `%>: ${end}`]);
});

test("directives and their values", () => {
  const directive = "meta.directive.varnel";
  assert.deepEqual(pieces('<%@ Language=JavaScript LCID="1031" FormToken=False %>'), [
    `<%@: ${directive} punctuation.section.embedded.begin.varnel`,
    `Language: ${directive} entity.other.attribute-name.varnel`,
    `=: ${directive}`,
    `JavaScript: ${directive} constant.other.varnel`,
    `LCID: ${directive} entity.other.attribute-name.varnel`,
    `=: ${directive}`,
    `"1031": ${directive} string.quoted.varnel`,
    `FormToken: ${directive} entity.other.attribute-name.varnel`,
    `=: ${directive}`,
    `False: ${directive} constant.other.varnel`,
    `%>: ${directive} punctuation.section.embedded.end.varnel`,
  ]);
});

test("includes are no comments", () => {
  const include = "meta.include.varnel";
  assert.deepEqual(pieces('<!-- a --><!--#include virtual="includes/head.inc"-->'), [
    "<!--: comment.block.html",
    "a: comment.block.html",
    "-->: comment.block.html",
    `<!--: ${include} punctuation.definition.comment.html`,
    `#include: ${include} keyword.control.import.varnel`,
    `virtual: ${include} entity.other.attribute-name.varnel`,
    `=: ${include} punctuation.separator.key-value.varnel`,
    `"includes/head.inc": ${include} string.quoted.varnel`,
    `-->: ${include} punctuation.definition.comment.html`,
  ]);
});
