import type { RefObject } from "preact";
import { useEffect, useState } from "preact/hooks";

/** How wide an element is, in pixels. */
export function useWidth(element: RefObject<HTMLElement | null>): number {
  const [width, setWidth] = useState(0);
  useEffect(() => {
    if (!element.current) return;
    const observer = new ResizeObserver(([entry]) => setWidth(entry?.contentRect.width ?? 0));
    observer.observe(element.current);
    return () => observer.disconnect();
  }, [element]);
  return width;
}
