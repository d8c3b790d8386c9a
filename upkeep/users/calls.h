// Calls about the people who have mail on this machine, and about the caller's own login.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

// Users are those accounts in the machine's own files whose numbers the mail server serves. All
// calls but `own_password` are refused while the accounts are those of a directory. Those that
// change a user take none with a shell, no administrator, and not the caller.

/// `user_list`: one page of the users by name. Members `query` (in the name), `start` and `limit`
/// (at most 1000). Answers `users` (`name`, `uid`, `address`, `home`, `administrator`, `shell`) and
/// `total`.
Answer UserList(const Request& request);

/// `user_show`: what the user `name` types into a mail program: `address`, `login`, `incoming` and
/// `outgoing` (each `protocol`, `server`, `port`, `encryption`, and whether it `answers` now), and
/// whether the server's certificate is `self_signed`.
Answer UserShow(const Request& request);

/// `user_add`: makes the user `name` with a home that nobody else can read, without a shell, with
/// the `password` of 10 to 128 characters. Answers as `user_show`.
Answer UserAdd(const Request& request);

/// `user_password`: gives the user `name` another `password`.
Answer UserPassword(const Request& request);

/// `user_remove`: removes the user `name` with forwarding and replies, and disconnects its mail
/// programs. `mailbox`: "keep" gives its home to root, "delete" deletes it. Answers `home`, whether
/// the mailbox was `kept` there, and the `aliases` in which the name still stands.
Answer UserRemove(const Request& request);

/// `own_password`: gives the caller's web login the password `new`, if `old` is the present one.
/// The package's web server is restarted then, after the answer that goes through it.
Answer OwnPassword(const Request& request);

}  // namespace upkeep
