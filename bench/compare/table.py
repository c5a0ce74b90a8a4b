"""One row of figures for each contender, as a Markdown table."""

import statistics

HEADER = """\
| task | size | program | threads | seconds | CPU s | own CPU s | MiB | of the limit | own CPU of it \
| of 1 thread | x Python | x shell |
|---|---|---|---|---|---|---|---|---|---|---|---|---|"""


def spread(values, digits):
    """Median and, of several, the smallest and the largest."""
    if not values:
        return ""
    text = f"{statistics.median(values):.{digits}f}"
    if len(values) > 1:
        text += f" ({min(values):.{digits}f}-{max(values):.{digits}f})"
    return text


def find(series, contender, threads):
    for one in series:
        if one.contender == contender and one.threads == threads:
            return one
    return None


def row(task, size, one, series):
    limit = find(series, "limit", one.threads)
    single = find(series, one.contender, 1)
    peers = [find(series, peer, 1) for peer in ("python", "shell")]
    ours = one.contender in ("mdfixup", "no undo")
    ratio = ours and limit is not None
    cells = [
        task, size, one.contender, one.threads,
        spread(one.values("wall"), 3), spread(one.values("cpu"), 3),
        f"{one.median('own'):.3f}", f"{one.median('peak'):.1f}",
        spread(one.ratios(limit), 2) if ratio else "",
        spread(one.ratios(limit, "own"), 2) if ratio else "",
        spread(one.ratios(single), 2) if one.threads > 1 and single is not None else "",
        *(spread(peer.ratios(one), 1) if ours and peer is not None else "" for peer in peers),
    ]
    return "| " + " | ".join(str(cell) for cell in cells) + " |"
