// What one view shows of a document. Several may show the same list, each another part of it.
import type { Item } from "../list/items.ts";
import type { ListSource } from "../list/source.ts";
import { withNext } from "../list/window.ts";
import type { InView, ListDocument } from "./document.ts";

export class DocumentView implements ListSource<Item>, InView {
  first = 0;
  end = 0;
  private seenFirst = 0;

  constructor(private readonly document: ListDocument) {}

  get total() {
    return this.document.total;
  }

  get revision() {
    return this.document.revision;
  }

  get ids() {
    return this.document.order;
  }

  get error() {
    return this.document.error;
  }

  at(index: number) {
    return this.document.at(index);
  }

  want(first: number, end: number) {
    Object.assign(this, withNext(first, end, this.seenFirst));
    this.seenFirst = first;
    this.document.views.add(this);
    void this.document.fetchInView();
  }

  retry() {
    this.document.retry();
  }

  leave() {
    this.document.views.delete(this);
  }
}
