"""What is compared with what, and how it should come out."""

from dataclasses import dataclass
from typing import Optional

DESTROY_SIZES = [10, 100, 1000, 10_000, 100_000]
ERASE_SIZES = DESTROY_SIZES
ERASE_ALL_SIZES = [1, 10, 100, 1000, 10_000]
CONTEXT_SIZES = [1, 10, 100, 1000, 10_000]
ID_SIZES = [1, 10, 100, 1000, 10_000, 100_000]
NESTING_DEPTHS = [1, 10, 100, 1000]
THREADS = [1, 2, 4, 8, 16]
ORDERS = {"Inserted": "in order", "Reversed": "reversed", "Shuffled": "shuffled"}

# Two medians that differ by no more than this are not told apart.
NO_DIFFERENCE = 1.05
# Costs that grow by no more than this beyond their floor's, over the whole range, are flat.
FLAT = 1.5


@dataclass(frozen=True)
class Row:
    """A ratio of medians; without a goal it is there to be seen."""

    work: str
    ours: str
    other: str
    other_name: str = "floor"
    goal: Optional[float] = None


@dataclass(frozen=True)
class FlatRow:
    """How a cost grows from the first size to the last, beyond what its floor's does (caches)."""

    work: str
    ours: list[str]
    floor: list[str]
    goal: float = FLAT


def manual(name, sizes):
    return [f"{name}/{size}/manual_time" for size in sizes]


def sized(name, sizes):
    return [f"{name}/{size}" for size in sizes]


FIND = [
    Row("find, Zarn", "BM_FindZarn", "BM_FindZarnFloor", goal=1.05),
    Row("find, Zarn", "BM_FindZarn", "BM_FindZarnFloorInitialExec", "floor, initial-exec"),
    Row("find, Zarn", "BM_FindZarn", "BM_FindInlineFloor", "inline in the program", 2.2),
    Row("find, Zarn, one per loop round", "BM_FindZarnLoop", "BM_FindZarnFloorLoop"),
    Row("find, Zarn, one per loop round", "BM_FindZarnLoop", "BM_FindInlineFloorLoop", "inline in the program"),
    Row("find, Zarn, each waiting for the last", "BM_FindZarnChain", "BM_FindZarnFloorChain"),
    Row(
        "find, Zarn, each waiting for the last",
        "BM_FindZarnChain",
        "BM_FindInlineFloorChain",
        "inline in the program",
    ),
    Row("floor, initial-exec", "BM_FindZarnFloorInitialExec", "BM_FindInlineFloor", "inline in the program"),
    Row(
        "floor, initial-exec, each waiting for the last",
        "BM_FindZarnFloorInitialExecChain",
        "BM_FindInlineFloorChain",
        "inline in the program",
    ),
    Row("find, Workspace", "BM_FindWorkspace", "BM_FindWorkspaceFloor", goal=1.05),
    Row("find, Workspace", "BM_FindWorkspace", "BM_FindInlineFloor", "inline in the program", 2.2),
    Row("find, Zarn, static and LTO", "static:BM_FindZarn", "static:BM_FindInlineFloor", "inline in the program", 1.5),
    Row(
        "find, Workspace, static and LTO",
        "static:BM_FindWorkspace",
        "static:BM_FindInlineFloor",
        "inline in the program",
        1.5,
    ),
    Row("findOrThrow, present", "BM_FindOrThrow", "BM_FindZarn", "find", 1.1),
    Row("findOrFail, present", "BM_FindOrFail", "BM_FindZarn", "find", 1.1),
    Row("findOrInsert, present", "BM_FindOrInsert", "BM_FindZarn", "find", 1.5),
    Row("find, Process, 1 thread", "BM_FindProcess", "BM_FindProcessFloor", goal=1.1),
    Row(
        "find, Process, 2 threads contending",
        "BM_FindProcessContended/manual_time",
        "BM_FindProcessContendedFloor/manual_time",
        goal=1.1,
    ),
]

STATES = [
    Row("insert + erase, Zarn", "BM_InsertEraseZarn", "BM_InsertEraseZarnFloor", goal=1.25),
    Row("insert + erase, Process", "BM_InsertEraseProcess", "BM_InsertEraseProcessFloor", goal=1.25),
    FlatRow(
        "erase oldest of 10 ... 100,000, insert it again",
        sized("BM_EraseOldest", ERASE_SIZES),
        sized("BM_EraseOldestFloor", ERASE_SIZES),
    ),
    FlatRow(
        "eraseAll over 1 ... 10,000 contexts",
        manual("BM_EraseAll", ERASE_ALL_SIZES),
        manual("BM_EraseAllFloor", ERASE_ALL_SIZES),
    ),
    *(
        Row(f"eraseAll over {size:,} context{'s' if size > 1 else ''}", ours, floor, "floor, c erases")
        for size, ours, floor in zip(
            ERASE_ALL_SIZES, manual("BM_EraseAll", ERASE_ALL_SIZES), manual("BM_EraseAllFloor", ERASE_ALL_SIZES)
        )
    ),
]

CONTEXTS = [
    *(
        Row(f"create + destroy, empty, {scope}", f"BM_Create{scope}", f"BM_Create{scope}Floor", goal=1.5)
        for scope in ("Process", "Zarn", "Workspace")
    ),
    Row("Zarn context with one state", "BM_ZarnOfOneState", "BM_ZarnOfOneStateFloor", goal=1.5),
    Row(
        "Zarn context with one state",
        "BM_ZarnOfOneState",
        "BM_ZarnOfOneStateScannedFloor",
        "floor and four table scans",
    ),
    Row("push + pop, Zarn", "BM_PushZarn", "BM_PushZarnFloor", goal=1.2),
    Row("push + pop, Workspace", "BM_PushWorkspace", "BM_PushWorkspaceFloor", goal=1.2),
    *(
        Row(
            f"destroy, {size:,} states, ids {title}",
            f"BM_Destroy{order}/{size}/manual_time",
            f"BM_DestroyFloor/{size}/manual_time",
            "floor, plain list",
            1.5,
        )
        for order, title in ORDERS.items()
        for size in DESTROY_SIZES
    ),
    *(
        FlatRow(
            f"destroy, 10 ... 100,000 states, ids {title}",
            manual(f"BM_Destroy{order}", DESTROY_SIZES),
            manual("BM_DestroyFloor", DESTROY_SIZES),
        )
        for order, title in ORDERS.items()
    ),
]

TRACE = [
    Row(
        "trace point, masked off (in getNextID)",
        "BM_MaskedTracePoint",
        "BM_MaskedTracePointFloor",
        "floor, load and test",
        NO_DIFFERENCE,
    ),
    Row("trace point, masked off (in getNextID)", "BM_MaskedTracePoint", "BM_NoTracePointFloor", "no trace point"),
    Row("trace on (32+64+2), one record", "BM_Record", "BM_RecordFloor", "by hand", 1.2),
]

# In the order of the plot; the work is the same for all: from a type or id to the object.
PEERS = [
    ("function-local static", "BM_FindLocalStatic"),
    ("thread_local object", "BM_FindThreadLocal"),
    ("find, Zarn", "BM_FindZarnObject"),
    ("find by type, Zarn", "BM_FindTyped"),
    ("find, Process", "BM_FindProcess"),
    ("map of any, 20 entries", "BM_FindAnyMap"),
    ("map of shared_ptr, 20 entries", "BM_FindMap"),
    ("the same behind a mutex", "BM_FindMapLocked"),
    ("asio, 1 service", "BM_FindAsioService<1>"),
    ("asio, 10 services", "BM_FindAsioService<10>"),
    ("asio, 100 services", "BM_FindAsioService<100>"),
]
PEER_GOALS = {"BM_FindAsioService<10>": 0.15, "BM_FindMap": 0.12}
PEER_ROWS = [
    Row("find, Zarn, to the object", "BM_FindZarnObject", name, title, PEER_GOALS.get(name))
    for title, name in PEERS
    if not title.startswith("find")
] + [
    Row("find by type, Zarn", "BM_FindTyped", "BM_FindZarnObject", "find, Zarn, to the object"),
    Row("find by type, Zarn", "BM_FindTyped", "BM_FindAsioService<10>", "asio, 10 services"),
    Row("find by type, Zarn", "BM_FindTyped", "BM_FindMapLocked", "the map behind a mutex"),
    Row("insert + erase, Zarn", "BM_InsertEraseZarn", "BM_InsertEraseMap", "map of shared_ptr"),
    Row("create + destroy, empty, Zarn", "BM_CreateZarn", "BM_CreateAsioContext", "asio context"),
]

SECTIONS = [
    ("Lookups", FIND),
    ("Inserting and erasing", STATES),
    ("Contexts", CONTEXTS),
    ("Trace", TRACE),
    ("Beside other libraries", PEER_ROWS),
]
