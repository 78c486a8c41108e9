// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the vendored script brings, as far as the page uses it.

declare const htmPreact: {
   html(strings: TemplateStringsArray, ...values: unknown[]): any;
   render(tree: any, parent: Element): void;
   Component: {
      new (props: any): {
         props: any;
         forceUpdate(): void;
      };
   };
   useState<T>(initial: T | (() => T)): [T, (next: T | ((before: T) => T)) => void];
   useEffect(effect: () => void | (() => void), inputs?: unknown[]): void;
   useMemo<T>(make: () => T, inputs: unknown[]): T;
   useRef<T>(initial: T): { current: T };
};
