// bundle.mjs OUT [--watch]: bundles src/ by esbuild into OUT, beside what lies in static/. Scripts and styles
// have a hash of their content in their names, so that a browser may keep them; index.html names them.
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import {
  chmodSync,
  cpSync,
  mkdirSync,
  mkdtempSync,
  readdirSync,
  readFileSync,
  renameSync,
  rmSync,
  watch,
  writeFileSync,
} from "node:fs";
import { basename, dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const PAGE = "index.html";
const SOURCES = ["src", "static", "worker"];
const SAVE_ENDS_AFTER_MS = 50;
const BROWSERS = "chrome100,firefox102,safari15.4";

function esbuild(...options) {
  execFileSync(
    "esbuild",
    ["--bundle", "--minify", "--log-level=warning", `--target=${BROWSERS}`, ...options],
    {
      cwd: here,
      stdio: "inherit",
    },
  );
}

function bundle(out) {
  mkdirSync(dirname(out), { recursive: true });
  const made = mkdtempSync(`${out}.new-`);
  try {
    chmodSync(made, 0o755);
    fill(made);
    publish(made, out);
  } finally {
    rmSync(made, { recursive: true });
  }
}

function fill(made) {
  cpSync(join(here, "static"), made, { recursive: true });
  const metafile = join(made, "meta.json");
  esbuild(
    "src/main.tsx",
    // As if each part imported it: so all that the first page needs is one file, instead of one for each set of
    // parts that need it too. In pieces it would be a fifth larger, compressed.
    "--inject:src/main.tsx",
    "--splitting",
    "--format=esm",
    "--entry-names=app-[hash]",
    "--chunk-names=app-part-[hash]",
    `--metafile=${metafile}`,
    `--outdir=${made}`,
  );
  const page = pageOf(readFileSync(join(made, PAGE), "utf8"), JSON.parse(readFileSync(metafile, "utf8")));
  rmSync(metafile);
  writeFileSync(join(made, PAGE), page);
  const shell = ["./", ...readdirSync(made).filter((name) => name !== PAGE)];
  const version = createHash("sha256").update(shell.join()).update(page).digest("hex").slice(0, 16);
  esbuild(
    "worker/service_worker.ts",
    `--define:SHELL=${JSON.stringify(shell)}`,
    `--define:VERSION=${JSON.stringify(version)}`,
    `--outfile=${join(made, "service_worker.js")}`,
  );
}

// The page with the names of its script, its style, and the parts that the script cannot begin without.
function pageOf(template, { outputs }) {
  const [script, { imports, cssBundle }] = Object.entries(outputs).find(
    ([, { entryPoint }]) => entryPoint === "src/main.tsx",
  );
  const parts = imports.filter(({ kind }) => kind === "import-statement").map(({ path }) => basename(path));
  const preloads = parts.map((name) => `<link rel="modulepreload" href="${name}" />`);
  return template
    .replace("app.js", basename(script))
    .replace("app.css", basename(cssBundle))
    .replace("<!-- parts -->", preloads.join("\n    "));
}

// Who opens the page meanwhile finds all that it names: it comes last, and what it no longer names goes then.
function publish(made, out) {
  mkdirSync(out, { recursive: true });
  const names = readdirSync(made).filter((name) => name !== PAGE);
  for (const name of [...names, PAGE]) renameSync(join(made, name), join(out, name));
  for (const name of readdirSync(out)) {
    if (name !== PAGE && !names.includes(name)) rmSync(join(out, name), { recursive: true });
  }
}

// Every folder has a watch of its own: before version 20 Node's recursive ones do not work on Linux.
function watchFolders(changed) {
  const watches = new Map();
  const foldersBelow = (folder) => [
    folder,
    ...readdirSync(folder, { withFileTypes: true })
      .filter((entry) => entry.isDirectory())
      .flatMap((entry) => foldersBelow(join(folder, entry.name))),
  ];
  const update = () => {
    const folders = SOURCES.flatMap((name) => foldersBelow(join(here, name)));
    for (const [folder, its] of watches) {
      if (!folders.includes(folder)) {
        its.close();
        watches.delete(folder);
      }
    }
    for (const folder of folders.filter((name) => !watches.has(name)))
      watches.set(folder, watch(folder, changed));
  };
  update();
  return update;
}

function bundleAtEachSave(out) {
  let waiting;
  const updateWatches = watchFolders(() => {
    clearTimeout(waiting);
    waiting = setTimeout(again, SAVE_ENDS_AFTER_MS);
  });
  const again = () => {
    updateWatches();
    try {
      bundle(out);
      console.error(`${new Date().toLocaleTimeString()} made ${out}`);
    } catch (error) {
      console.error(String(error)); // esbuild has said where; the next save may mend it
    }
  };
}

const out = resolve(process.argv[2]);
bundle(out);
if (process.argv[3] === "--watch") bundleAtEachSave(out);
