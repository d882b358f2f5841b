// A row of a list. It is drawn anew only when something of it has changed, so that rows which stay in view cost a
// scrolled list nothing.
import { Component, type ComponentChildren } from "preact";

export interface Column<T> {
  key: string;
  label: string;
  /** Its label is for screen readers alone. */
  quiet?: boolean;
  /** A track of a CSS grid: "3rem", "minmax(8rem, 2fr)". */
  width: string;
  cell: (item: T, index: number) => ComponentChildren;
  /** Numbers stand at the end of their cell. */
  align?: "start" | "end";
  sortable?: boolean;
}

/** Cutting off what does not fit is work for each cell, so where all fits nothing is cut. */
export function classOf<T>({ align, quiet }: Column<T>) {
  if (align === "end") return "cell end";
  return quiet ? "cell" : "cell text";
}

interface RowProps<T> {
  index: number;
  /** Undefined while it is not there yet. */
  item: T | undefined;
  columns: readonly Column<T>[];
  /** Pixels below the top of all rows. */
  top: number;
  /** Among all rows of the grid, from 1 on. */
  number: number;
  look: string | undefined;
  label: ((item: T) => string) | undefined;
  /** Undefined where nothing can be selected. */
  isSelected: boolean | undefined;
  isActive: boolean;
}

export class Row<T> extends Component<RowProps<T>> {
  /** Signals that cells read make a new state. */
  override shouldComponentUpdate(next: RowProps<T>, state: object) {
    if (state !== this.state) return true;
    return (Object.keys(next) as (keyof RowProps<T>)[]).some((key) => next[key] !== this.props[key]);
  }

  override render({ index, item, columns, top, number, look, label, isSelected, isActive }: RowProps<T>) {
    return (
      <div
        role="row"
        class={look ? `row ${look}` : "row"}
        data-index={index}
        aria-rowindex={number}
        aria-selected={isSelected}
        aria-label={item && label?.(item)}
        aria-busy={item === undefined ? true : undefined}
        tabIndex={isActive ? 0 : -1}
        style={{ top: `${top}px` }}
      >
        {columns.map((column, place) => (
          <div key={column.key} role="gridcell" aria-colindex={place + 1} class={classOf(column)}>
            {item === undefined ? place === 0 && <span class="skeleton" /> : column.cell(item, index)}
          </div>
        ))}
      </div>
    );
  }
}
