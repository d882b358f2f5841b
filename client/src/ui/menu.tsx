// Menus that open at a button or where the pointer is.
import { signal } from "@preact/signals";
import { useEffect, useLayoutEffect, useRef } from "preact/hooks";
import { Icon, type IconName } from "./icon.tsx";

export interface MenuItem {
  label: string;
  run: () => void;
  icon?: IconName;
  /** Shown at its end; the key itself is bound elsewhere. */
  key?: string;
  disabled?: boolean;
  /** For one that is on or off. */
  checked?: boolean;
  danger?: boolean;
  /** A line before it. */
  divided?: boolean;
}

type Place = HTMLElement | { x: number; y: number };

interface OpenMenu {
  items: MenuItem[];
  place: Place;
  label: string;
}

const menu = signal<OpenMenu | undefined>(undefined);
const MARGIN = 8;

/** Opens below an element, or at a point. */
export function openMenu(place: Place, label: string, items: MenuItem[]) {
  menu.value = { items, place, label };
}

export function closeMenu() {
  menu.value = undefined;
}

interface MenuButtonProps {
  label: string;
  /** Opens it, below the button. */
  open: (button: HTMLElement) => void;
  icon?: IconName;
  /** A mouse that comes to it is told the label, too. */
  tip?: boolean;
  /** Beside that of all buttons with an icon. */
  class?: string;
  disabled?: boolean;
  tabIndex?: number;
}

/** A button that opens a menu. */
export function MenuButton({ label, open, icon = "more", tip = false, ...others }: MenuButtonProps) {
  return (
    <button
      {...others}
      type="button"
      class={others.class ? `icon-button ${others.class}` : "icon-button"}
      aria-haspopup="menu"
      aria-label={label}
      title={tip ? label : undefined}
      onClick={({ currentTarget }) => open(currentTarget)}
    >
      <Icon name={icon} />
    </button>
  );
}

export function Menus() {
  return menu.value ? <Menu key={menu.value} menu={menu.value} /> : null;
}

function rectangleOf(place: Place) {
  if (place instanceof HTMLElement) return place.getBoundingClientRect();
  return { left: place.x, right: place.x, top: place.y, bottom: place.y };
}

function put(element: HTMLElement, place: Place) {
  const at = rectangleOf(place);
  const { width, height } = element.getBoundingClientRect();
  const left = Math.max(MARGIN, Math.min(at.left, innerWidth - width - MARGIN));
  const fitsBelow = at.bottom + height + MARGIN <= innerHeight;
  const top = fitsBelow ? at.bottom + 4 : Math.max(MARGIN, at.top - height - 4);
  element.style.left = `${left}px`;
  element.style.top = `${top}px`;
}

function step(list: HTMLElement, key: string) {
  const buttons = [...list.querySelectorAll<HTMLElement>("button:not(:disabled)")];
  const now = buttons.indexOf(document.activeElement as HTMLElement);
  const next = { ArrowDown: now + 1, ArrowUp: now - 1, Home: 0, End: -1 }[key];
  if (next === undefined) return false;
  buttons.at(next % buttons.length)?.focus();
  return true;
}

function Menu({ menu: { items, place, label } }: { menu: OpenMenu }) {
  const list = useRef<HTMLDivElement>(null);
  const before = useRef(document.activeElement);
  const close = () => {
    menu.value = undefined;
    if (before.current instanceof HTMLElement) before.current.focus();
  };
  useLayoutEffect(() => {
    if (!list.current) return;
    put(list.current, place);
    list.current.querySelector<HTMLElement>("button:not(:disabled)")?.focus();
  }, [place]);
  useEffect(() => {
    const closeOutside = (event: Event) => {
      if (!list.current?.contains(event.target as Node)) menu.value = undefined;
    };
    document.addEventListener("pointerdown", closeOutside, true);
    window.addEventListener("resize", closeOutside);
    return () => {
      document.removeEventListener("pointerdown", closeOutside, true);
      window.removeEventListener("resize", closeOutside);
    };
  }, []);
  const onKeyDown = (event: KeyboardEvent) => {
    event.stopPropagation();
    if (event.key === "Escape" || event.key === "Tab") close();
    else if (!list.current || !step(list.current, event.key)) return;
    event.preventDefault();
  };
  const run = (item: MenuItem) => {
    close();
    item.run();
  };
  return (
    <div ref={list} class="menu" role="menu" aria-label={label} onKeyDown={onKeyDown}>
      {items.map((item) => (
        <button
          key={item.label}
          type="button"
          role={item.checked === undefined ? "menuitem" : "menuitemcheckbox"}
          aria-checked={item.checked}
          disabled={item.disabled}
          class={`${item.danger ? "danger" : ""} ${item.divided ? "divided" : ""}`}
          onClick={() => run(item)}
        >
          <span class="menu-icon">
            {item.icon && <Icon name={item.icon} />}
            {item.checked && <Icon name="check" />}
          </span>
          <span>{item.label}</span>
          {item.key && <kbd>{item.key}</kbd>}
        </button>
      ))}
    </div>
  );
}
