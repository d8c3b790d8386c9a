// The pages of mail, what became of it, what waits and what is kept aside, and of the upkeep of the server.
import "./common.js";

export { MailLog } from "../pages/mail_log.js";
export { Quarantine } from "../pages/quarantine.js";
export { Queue } from "../pages/queue.js";
export { Security } from "../pages/security.js";
export { About } from "../pages/about.js";
export { Certificate } from "../pages/certificate.js";
export { Dns } from "../pages/dns.js";
export { History } from "../pages/history.js";
export { Keys } from "../pages/keys.js";
export { Relay, Report } from "../pages/tried_settings.js";
