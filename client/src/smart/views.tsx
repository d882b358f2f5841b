// The views of this room, by the first segment of their address.
import type { ComponentType } from "preact";
import type { Route } from "../ui/router.ts";
import { RuleView } from "./rule_view.tsx";

export const smartViews: Record<string, ComponentType<{ route: Route }>> = { smart: RuleView };
