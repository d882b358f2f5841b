// Keeps the shell (page, script, style), so that it opens without the server. What the library holds is
// never kept: it is asked for each time.
declare const SHELL: string[];
declare const VERSION: string;

const worker = self as unknown as ServiceWorkerGlobalScope;

const NAME = `shell-${VERSION}`;

worker.addEventListener("install", (event) => {
  event.waitUntil(caches.open(NAME).then((cache) => cache.addAll(SHELL)));
  void worker.skipWaiting();
});

async function forgetOlder() {
  const names = await caches.keys();
  await Promise.all(names.filter((name) => name !== NAME).map((name) => caches.delete(name)));
  await worker.clients.claim();
}
worker.addEventListener("activate", (event) => event.waitUntil(forgetOlder()));

// The page itself comes from the server as long as there is one, so that a new version is seen at once.
async function answer(request: Request) {
  const kept = () => caches.match(request, { ignoreSearch: true });
  if (request.mode !== "navigate") return (await kept()) ?? fetch(request);
  try {
    return await fetch(request);
  } catch {
    return (await caches.match("./")) ?? Response.error();
  }
}

worker.addEventListener("fetch", (event) => {
  const { origin, pathname } = new URL(event.request.url);
  const isOfShell =
    event.request.method === "GET" &&
    origin === worker.location.origin &&
    !/\/(api|audio_playlist\.cgi)(\/|$)/.test(pathname);
  if (isOfShell) event.respondWith(answer(event.request));
});
