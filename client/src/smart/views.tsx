// The views of this room, by the first segment of their address.
import type { ComponentType } from "preact";
import { lazy } from "../ui/lazy.tsx";
import type { Route } from "../ui/router.ts";

const RuleView = lazy(async () => (await import("./rule_view.tsx")).RuleView);

export const smartViews: Record<string, ComponentType<{ route: Route }>> = { smart: RuleView };
