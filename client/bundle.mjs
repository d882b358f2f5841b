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
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
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
  chmodSync(made, 0o755);
  cpSync(join(here, "static"), made, { recursive: true });
  esbuild("src/main.tsx", "--entry-names=app-[hash]", `--outdir=${made}`);
  const assets = readdirSync(made).filter((name) => name.startsWith("app-"));
  const named = (kind) => assets.find((name) => name.endsWith(kind));
  const page = readFileSync(join(made, "index.html"), "utf8")
    .replace("app.js", named(".js"))
    .replace("app.css", named(".css"));
  writeFileSync(join(made, "index.html"), page);
  const shell = ["./", ...readdirSync(made).filter((name) => name !== "index.html")];
  const version = createHash("sha256").update(page).digest("hex").slice(0, 16);
  esbuild(
    "worker/service_worker.ts",
    `--define:SHELL=${JSON.stringify(shell)}`,
    `--define:VERSION=${JSON.stringify(version)}`,
    `--outfile=${join(made, "service_worker.js")}`,
  );
  rmSync(out, { recursive: true, force: true });
  renameSync(made, out);
}

const out = resolve(process.argv[2]);
bundle(out);
if (process.argv[3] === "--watch") {
  let waiting;
  watch(join(here, "src"), { recursive: false }, () => {
    clearTimeout(waiting);
    waiting = setTimeout(() => bundle(out), 50);
  });
}
