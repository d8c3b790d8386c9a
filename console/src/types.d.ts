// What the build makes from the descriptions of the API.

/** How an action is called. */
interface ActionAbout {
    kind?: "write" | "upload";
    program?: string;
    member?: string;
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
    pattern?: string;
    format?: string;
    unit?: string;
    needs?: Record<string, any>;
    suits?: Record<string, Record<string, any[]>>;
    kind?: string;
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

/** A change of a list. Its members by where they come from in a row. */
interface ChangeAbout {
    action: string;
    from: Record<string, string>;
    old?: Record<string, string>;
    shapes?: Record<string, "objects" | "texts" | "object">;
    required?: string[];
    lines?: string;
    fields?: Record<string, Field>;
}

/** A list that has a page. */
interface ListAbout {
    load: string;
    rows: string;
    key: string[];
    columns: string[];
    searched: string[];
    fields: Record<string, Field>;
    search?: string;
    paged: boolean;
    tabs?: { member: string; parameter?: string };
    apply?: string;
    add?: ChangeAbout;
    edit?: ChangeAbout;
    delete?: ChangeAbout;
    import?: ChangeAbout;
    export?: ChangeAbout;
}

declare module "made-api" {
    const api: {
        actions: Record<string, ActionAbout>;
        pages: Record<string, PageAbout>;
        lists: Record<string, ListAbout>;
        forms: Record<string, Record<string, Field>>;
    };
    export default api;
}

declare module "made-site" {
    const site: { version: string; texts: Record<string, string[]>; licences: string };
    export default site;
}
