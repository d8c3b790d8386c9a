// What the build makes from the descriptions of the API.

/** How an action is called. */
interface ActionAbout {
    kind?: "write" | "upload";
    program?: string;
    proof?: boolean;
    restarts?: string[];
}

/** A field of a form. */
interface Field {
    type: "boolean" | "integer" | "string";
    title: string;
    help?: string;
    group?: string;
    min?: number;
    max?: number;
    minLength?: number;
    maxLength?: number;
    maxBytes?: number;
    format?: string;
    unit?: string;
    needs?: Record<string, boolean | string>;
    restarts?: string[];
    secret?: boolean;
    mask?: string;
    warn?: string;
    choices?: [string | number, string][];
}

/** A page of settings. */
interface PageAbout {
    load: string;
    save: string;
    required: string[];
    fields: Record<string, Field>;
    elsewhere: Record<string, Field & { page: string }>;
}

declare module "made-api" {
    const api: { actions: Record<string, ActionAbout>; pages: Record<string, PageAbout> };
    export default api;
}

declare module "made-site" {
    const site: { version: string; texts: Record<string, string>; licences: string };
    export default site;
}
