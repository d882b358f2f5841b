// The menu of the user: language, theme, leaving.
import { effect, signal } from "@preact/signals";
import { useRef } from "preact/hooks";
import { language, languages, setLanguage, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { showKeys } from "../ui/keys.tsx";
import { withPart } from "../ui/lazy.tsx";
import { mediaMatches } from "../ui/media.ts";
import { type MenuItem, openMenu } from "../ui/menu.tsx";
import { notifyFailure } from "../ui/notices.tsx";
import { goTo } from "../ui/router.ts";
import { logOut, user } from "../ui/session.tsx";

const THEMES = ["auto", "light", "dark"] as const;
type Theme = (typeof THEMES)[number];
const KEPT = "theme";

const kept = localStorage.getItem(KEPT);
const theme = signal<Theme>(THEMES.find((name) => name === kept) ?? "auto");

const deviceIsDark = mediaMatches("(prefers-color-scheme: dark)");

effect(() => {
  localStorage.setItem(KEPT, theme.value);
  const isDark = theme.value === "dark" || (theme.value === "auto" && deviceIsDark.value);
  document.documentElement.dataset.theme = isDark ? "dark" : "light";
});

async function leave(everywhere: boolean) {
  try {
    await logOut(everywhere);
  } catch (error) {
    notifyFailure("", error);
  }
}

function askForPassword() {
  return withPart(
    () => import("./password_dialog.tsx"),
    ({ changePassword }) => changePassword(),
  );
}

/** As who speaks a language calls it. */
function ownNameOf(tongue: string) {
  return new Intl.DisplayNames([tongue], { type: "language" }).of(tongue) ?? tongue;
}

function items(): MenuItem[] {
  const themes = THEMES.map((name) => ({
    label: t(`user.theme_${name}`),
    checked: theme.value === name,
    run: () => {
      theme.value = name;
    },
  }));
  const tongues = languages.map((name, place) => ({
    label: ownNameOf(name),
    checked: language.value === name,
    divided: place === 0,
    run: () => void setLanguage(name),
  }));
  return [
    ...themes,
    ...tongues,
    { label: t("keys.title"), key: "?", divided: true, run: showKeys },
    { label: t("password.title"), divided: true, run: () => void askForPassword() },
    ...(user.value?.admin ? [{ label: t("scan.title"), run: () => goTo(["scan"]) }] : []),
    { label: t("user.log_out"), divided: true, run: () => void leave(false) },
    { label: t("user.log_out_everywhere"), run: () => void leave(true) },
  ];
}

export function UserMenuButton({ name }: { name: string }) {
  const button = useRef<HTMLButtonElement>(null);
  const label = t("user.menu", { name });
  return (
    <button
      ref={button}
      type="button"
      class="top-button"
      aria-haspopup="menu"
      aria-label={label}
      onClick={() => button.current && openMenu(button.current, label, items())}
    >
      <Icon name="person" />
      <span class="wide-only">{name}</span>
    </button>
  );
}
