from collections.abc import Mapping, Sequence

def run(
    verb: str, options: Mapping[str, bool | str | Sequence[str]], failed: int
) -> tuple[int, str, list[tuple[bool, str]]]: ...
