import { effect } from "@preact/signals";
import { render } from "preact";
import { Frame } from "./app/frame.tsx";
import { unsaved } from "./editor/open_documents.ts";
import { isWaiting as queueWaits } from "./playback/queue_sync.ts";
import "./style/main.css";
import { language, loadLanguage, t } from "./text/index.ts";
import { Dialogs, leaveDialogs } from "./ui/dialog.tsx";
import { closeMenu, Menus } from "./ui/menu.tsx";
import { closeNotices, Notices, reasonOf } from "./ui/notices.tsx";
import { isWaiting } from "./ui/outbox.ts";
import { failure, LoginPage, loadSession, user } from "./ui/session.tsx";

function Page() {
  if (failure.value) {
    return (
      <main class="login">
        <p role="alert">{reasonOf(failure.value)}</p>
        <button type="button" class="button primary" onClick={() => void loadSession()}>
          {t("retry")}
        </button>
      </main>
    );
  }
  if (user.value === undefined) return null;
  if (user.value) return <Frame />;
  return <LoginPage waits={unsaved.value > 0 || queueWaits.value || isWaiting.value} />;
}

function App() {
  return (
    <>
      <Page />
      <Menus />
      <Dialogs />
      <Notices />
    </>
  );
}

effect(() => {
  document.documentElement.lang = language.value;
});
// What was open shows things of who was here.
effect(() => {
  if (user.value) return;
  leaveDialogs();
  closeMenu();
  closeNotices();
});
void loadSession();
void loadLanguage().then(() => render(<App />, document.body));

// Where a browser has none (no TLS on another machine), the page works all the same.
if ("serviceWorker" in navigator) void navigator.serviceWorker.register("service_worker.js").catch(() => {});
