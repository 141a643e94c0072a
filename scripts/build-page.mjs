#!/usr/bin/env node
// Builds a page the app loads, from Resources/sticky/page.html (a note, --kind
// note) or Resources/markdown.html (the one page that renders Markdown for all
// notes, --kind markdown):
//   - each "/* @part <file> */" line is replaced by that file from the
//     template's folder (the note page's style sheet and script pieces); every
//     .css and .js file there must be used, once;
//   - each "/* @inline <package file> */" line in the page's one executable
//     script is replaced by that file from node_modules (markdown-it, DOMPurify);
//   - the SHA-256 of the finished script is written into the page's
//     Content-Security-Policy in place of {{SCRIPT_HASH}}, so that script is
//     the only one the page will ever run.
//
// The app fills a note page's placeholders later, outside the script, so the
// hash stays valid. The checks below fail the build rather than ship a page
// whose script the HTML parser would cut short or the app would rewrite.
//
// usage: node scripts/build-page.mjs --modules <node_modules> --out <page>
//                                    [--template Resources/sticky/page.html] [--kind note|markdown]

import { createHash } from "node:crypto";
import { mkdirSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import path from "node:path";
import { fileURLToPath } from "node:url";

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "..");
const PLACEHOLDERS = ["BG", "FG", "BAR", "COLOR", "COLORS", "CONTENT", "EDIT", "CONFLICT"];
const HASH_SLOT = "{{SCRIPT_HASH}}";
const INLINE_LINE = /^[ \t]*\/\* @inline (\S+) \*\/[ \t]*$/gm;
const PART_LINE = /^[ \t]*\/\* @part (\S+) \*\/[ \t]*$/gm;
const PART_FILE = /\.(?:css|js)$/;
const EXECUTABLE_SCRIPT = /<script>([\s\S]*?)<\/script>/g;

function fail(message) {
  console.error(`build-page: ${message}`);
  process.exit(1);
}

function options(argv) {
  const result = { template: path.join(root, "Resources", "sticky", "page.html"), kind: "note" };
  for (let i = 0; i < argv.length; i += 2) {
    const [name, value] = [argv[i], argv[i + 1]];
    if (!["--template", "--modules", "--out", "--kind"].includes(name) || value === undefined) {
      fail(`unknown or incomplete option ${name}`);
    }
    result[name.slice(2)] = name === "--kind" ? value : path.resolve(value);
  }
  if (!result.modules || !result.out) fail("--modules and --out are required");
  if (!["note", "markdown"].includes(result.kind)) fail(`unknown page kind ${result.kind}`);
  return result;
}

// The HTML parser turns CR LF and lone CR into LF before the policy hashes a
// script, so the page is written with LF only and hashed as the parser sees it.
function normalizeNewlines(text) {
  return text.replace(/\r\n?/g, "\n");
}

function readText(file) {
  try {
    return normalizeNewlines(readFileSync(file, "utf8"));
  } catch (error) {
    fail(`can't read ${file}: ${error.message}`);
  }
}

// The template with each part line replaced by that part. A part left out
// would be a feature silently missing from the page, so that fails the build.
function joinParts(template) {
  const folder = path.dirname(template);
  const used = new Set();
  const page = readText(template).replace(PART_LINE, (line, file) => {
    if (file.includes("/") || !PART_FILE.test(file)) fail(`${file} is not a .css or .js file beside the template`);
    if (used.has(file)) fail(`${file} is joined in twice`);
    used.add(file);
    const text = readText(path.join(folder, file)).replace(/\n+$/, "");
    if (PART_LINE.test(text)) fail(`${file} names a part itself`);
    PART_LINE.lastIndex = 0;
    return text;
  });
  if (used.size > 0) {
    const unused = readdirSync(folder).filter((file) => PART_FILE.test(file) && !used.has(file));
    if (unused.length > 0) fail(`${unused.join(", ")} beside the template ${unused.length > 1 ? "are" : "is"} never joined in`);
  }
  return page;
}

function libraryText(modules, file) {
  const text = readText(path.join(modules, file))
    .replace(/^\/\/# sourceMappingURL=.*$/gm, "")
    .trim();
  if (/<\/script/i.test(text)) fail(`${file} contains "</script" and can't be inlined`);
  return text;
}

// Inside a script, "<!--" followed later by "<script" switches the HTML parser
// into a state where "</script>" no longer ends the element.
function checkScript(script) {
  if (/<script[\s/>]/i.test(script)) fail('the page script contains "<script" and would confuse the HTML parser');
  const token = new RegExp(`__(?:${PLACEHOLDERS.join("|")})__`).exec(script);
  if (token) fail(`the page script contains the placeholder ${token[0]}, which the app would replace`);
}

// A note's text may only land in the JSON data block, and colours also in the
// style sheet: anywhere else (a comment, an attribute) the text could become markup.
function checkPage(page, kind) {
  const policy = page.search(/<meta http-equiv="Content-Security-Policy"/i);
  const firstScript = page.search(/<script[\s>]/i);
  if (policy < 0 || policy > firstScript) fail("the Content-Security-Policy must come before any script");
  if (page.split(HASH_SLOT).length !== 2) fail(`the page must hold ${HASH_SLOT} exactly once`);

  const data = /<script type="application\/json" id="data">([\s\S]*?)<\/script>/.exec(page);
  if (kind === "markdown") {
    // Nothing of a note is ever written into this page: it gets text only as a call's argument.
    const stray = new RegExp(`__(?:${PLACEHOLDERS.join("|")})__`).exec(page);
    if (data || stray) fail("the Markdown page takes no values from the app");
    return;
  }
  if (!data) fail('the page has no <script type="application/json" id="data"> block');
  for (const name of PLACEHOLDERS) {
    if (!data[1].includes(`__${name}__`)) fail(`the data block never uses the placeholder for ${name}`);
  }
  const styles = [...page.matchAll(/<style>([\s\S]*?)<\/style>/g)].map((m) => m[0]);
  let rest = page.replace(data[0], "");
  for (const style of styles) {
    if (/__(?:COLOR|COLORS|CONTENT|EDIT|CONFLICT)__/.test(style)) fail("only colour placeholders may appear in a style sheet");
    rest = rest.replace(style, "");
  }
  const stray = new RegExp(`__(?:${PLACEHOLDERS.join("|")})__`).exec(rest);
  if (stray) fail(`the placeholder ${stray[0]} appears outside the data block and the style sheet`);
}

function build({ template, modules, out, kind }) {
  const source = joinParts(template);
  checkPage(source, kind);

  const scripts = [...source.matchAll(EXECUTABLE_SCRIPT)];
  if (scripts.length !== 1) fail(`expected one executable <script>, found ${scripts.length}`);
  const [whole, body] = scripts[0];

  const inlined = new Set();
  const script = body.replace(INLINE_LINE, (line, file) => {
    if (inlined.has(file)) fail(`${file} is inlined twice`);
    inlined.add(file);
    return libraryText(modules, file);
  });
  // Only the Markdown page runs the libraries; a note page asks it for HTML.
  if (kind === "markdown" && inlined.size === 0) fail("the Markdown page inlines no library");
  if (kind === "note" && inlined.size > 0) fail("a note page inlines no library: the Markdown page renders for it");
  checkScript(script);

  const hash = createHash("sha256").update(script, "utf8").digest("base64");
  const page = source
    .replace(whole, () => `<script>${script}</script>`)
    .replace(HASH_SLOT, `sha256-${hash}`);

  mkdirSync(path.dirname(out), { recursive: true });
  writeFileSync(out, page, "utf8");
  console.log(`build-page: wrote ${path.relative(process.cwd(), out) || out} ` +
    `(${Buffer.byteLength(page)} bytes, script sha256-${hash})`);
}

build(options(process.argv.slice(2)));
