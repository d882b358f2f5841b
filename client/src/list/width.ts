import type { RefObject } from "preact";
import { useLayoutEffect, useState } from "preact/hooks";

/** How wide an element is inside, in pixels; known before it is seen. */
export function useWidth(box: RefObject<HTMLElement | null>): number {
  const [width, setWidth] = useState(0);
  useLayoutEffect(() => {
    const element = box.current;
    if (!element) return;
    const measure = () => setWidth(element.clientWidth);
    const observer = new ResizeObserver(measure);
    observer.observe(element);
    measure();
    return () => observer.disconnect();
  }, [box]);
  return width;
}
