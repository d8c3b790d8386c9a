"""Reading whole files, and replacing files atomically."""
import os



def replace(path: str, data: bytes, mode: int = 0o644,
            owner: tuple[int, int] | None = None) -> None:
    """Replaces a file atomically. `owner` is a user id and a group id, by default this process's.
    """
    new = "%s.%d" % (path, os.getpid())
    descriptor = os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW, 0o600)
    try:
        with open(descriptor, "wb") as file:
            file.write(data)
            if owner:
                os.fchown(file.fileno(), *owner)
            os.fchmod(file.fileno(), mode)
            file.flush()
            os.fsync(file.fileno())
        os.rename(new, path)
    except BaseException:
        remove(new)
        raise
    sync_folder(os.path.dirname(path))


def remove(path: str) -> None:
    """Removes a file, if it exists."""
    try:
        os.unlink(path)
    except FileNotFoundError:
        pass


def content(path: str) -> bytes | None:
    """A file's bytes; None when it does not exist."""
    try:
        with open(path, "rb") as file:
            return file.read()
    except (FileNotFoundError, NotADirectoryError):
        return None


def digest(path: str) -> str:
    """SHA-256 of a file in hexadecimal digits; "" when it does not exist."""
    import hashlib
    data = content(path)
    return "" if data is None else hashlib.sha256(data).hexdigest()


def lines_of(path: str) -> list[str]:
    """Lines of a file; none when it does not exist."""
    try:
        with open(path, encoding="utf-8", errors="replace") as file:
            return file.read().splitlines()
    except FileNotFoundError:
        return []


def sync_folder(folder: str) -> None:
    """Syncs a directory, with the names in it, to disk."""
    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY)
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)
