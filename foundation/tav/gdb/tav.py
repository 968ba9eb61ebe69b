"""What gdb knows of foundation::tav: the commands `tav ...` and printers for its types; docs/debugging.md.

The library carries this text in its section .debug_gdb_scripts, where gdb finds it. Nothing is called in the program:
all of it works on a core file as well. The names are those of foundation/tav/management.cpp and
foundation/state/detail/registry.h.
"""

import os
import re

import gdb
import gdb.printing

SCOPES = ("Process", "Zarn", "Workspace")
THREAD_SCOPES = SCOPES[1:]
STATES = ("running", "shut down", "destroyed")

# ----------------------------------------------------------------------------------------------------------------------
# Reading the standard library's and Boost's classes


def evaluate(expression):
    """Of C++, whatever language the selected frame is in."""
    with gdb.with_parameter("language", "c++"):
        return gdb.parse_and_eval(expression)


def tuple_element(value, index):
    """An element of a std::tuple, or None: a base class of a base class."""
    for field in value.type.fields():
        if field.is_base_class:
            base = value[field]
            if re.match(rf"std::_Head_base<{index}u?l?,", str(field.type.strip_typedefs())):
                return base["_M_head_impl"]
            found = tuple_element(base, index)
            if found is not None:
                return found
    return None


def unique_pointer(value):
    return tuple_element(value["_M_t"]["_M_t"], 0)


def unique_pointer_deleter(value):
    return tuple_element(value["_M_t"]["_M_t"], 1)


def string(value):
    return value["_M_dataplus"]["_M_p"].string(length=int(value["_M_string_length"]))


def map_entries(value):
    """The pairs of a std::map, in order."""
    pair = value.type.strip_typedefs().template_argument(3).template_argument(0)  # what the allocator is for

    def below(node):
        if node:
            yield from below(node["_M_left"])
            yield (node + 1).cast(pair.pointer()).dereference()
            yield from below(node["_M_right"])

    return below(value["_M_t"]["_M_impl"]["_M_header"]["_M_parent"])


def list_nodes(value):
    """The addresses of the nodes of a boost::intrusive::list."""
    header = value["data_"]["root_plus_size_"]["m_header"]
    end = int(header.address)
    node = header["next_"]
    seen = set()
    while int(node) != end:
        if int(node) in seen or not node:
            raise gdb.error(f"The list at {end:#x} is damaged, or being changed.")
        seen.add(int(node))
        yield int(node)
        node = node.dereference()["next_"]


def base_offset(type_, name):
    """Where the base class of that name begins, in bytes."""
    for field in type_.fields():
        if field.is_base_class and name in str(field.type.strip_typedefs()):
            return field.bitpos // 8
    raise gdb.error(f"{type_} has no base class {name}.")


def object_at(address, type_):
    return gdb.Value(address).cast(type_.pointer()).dereference()


# ----------------------------------------------------------------------------------------------------------------------
# States


def symbol_at(address):
    """The name of the function at an address, None if it has none, and the file that the address lies in."""
    found = re.match(r"(.*?) in section \S+(?: of (.*))?$", gdb.execute(f"info symbol {address:#x}", to_string=True))
    module = gdb.solib_name(address)
    if not found:
        return None, module
    name, file = found.groups()
    is_exact = not re.search(r" \+ \d+$", name)
    return re.sub(r"^void ", "", name) if is_exact else None, module or file or gdb.current_progspace().filename


class State:
    """A stored object: a StatePtr, and what is known of it."""

    def __init__(self, pointer):
        self.address = int(unique_pointer(pointer))
        self.deleter = int(unique_pointer_deleter(pointer))

    def deleter_text(self):
        name, module = symbol_at(self.deleter)
        place = f"in {os.path.basename(module)}" if module else "in no module"
        return f"{name or hex(self.deleter)} {place}"

    def type_name(self):
        """As the deleter tells it, or None: foundation::state names its deleters after their types."""
        found = re.match(r"foundation::state::detail::deleteState<(.*)>\(void\*\)$", symbol_at(self.deleter)[0] or "")
        return found and found.group(1).rstrip()


class StoredState(State):
    """One that is in a context, and has an id therefore."""

    def __init__(self, item, registered_name):
        super().__init__(item)
        self.id = int(item["typeID"])
        self.registered_name = registered_name

    def type_name(self):
        return self.registered_name or super().type_name()

    def name(self):
        name = self.type_name()
        return f"{name} (id {self.id})" if name else f"(id {self.id})"


def items(store):
    """The items of an InstanceManager, newest first."""
    type_ = gdb.lookup_type("(anonymous namespace)::InstanceManager::Item")
    offset = base_offset(type_, "list_base_hook")
    return [object_at(node - offset, type_) for node in list_nodes(store["m_list"])]


def type_names():
    """The readable names by scope and id of the types that foundation::state has registered."""
    try:
        registry = evaluate("'foundation::state::detail::Registry::instance()::registry'")
        types = [entry["second"] for entry in map_entries(registry.referenced_value()["m_types"])]
    except gdb.error:  # the program doesn't use that library, or there is none of its debug information
        return {}
    return {
        (scope_of(known["first"]["_M_target"]), int(known["second"])): string(type_["name"])
        for type_ in types
        for known in map_entries(type_["ids"])
    }


def scope_of(type_info):
    """The scope that a std::type_info names by its mangled name, its second word: compilers describe the class where
    the standard library defines it, not here."""
    text = gdb.lookup_type("char").pointer()
    name = (type_info.cast(text.pointer()) + 1).dereference().string()
    return next((scope for scope in SCOPES if name.endswith(f"{len(scope)}{scope}E")), None)


# ----------------------------------------------------------------------------------------------------------------------
# Contexts


def context_type(scope):
    return gdb.lookup_type(f"(anonymous namespace)::ContextImpl<foundation::tav::scope::{scope}>")


class Context:
    """A ContextImpl."""

    def __init__(self, value):
        self.value = value
        self.scope = re.search(r"::scope::(\w+)>$", value.type.strip_typedefs().unqualified().name).group(1)
        self.address = int(value.address)

    @classmethod
    def at(cls, address, scope):
        return cls(object_at(address, context_type(scope)))

    def __str__(self):
        return f"{self.scope} context {self.address:#x}"

    def life(self):
        dying = self.value["m_isDestroying"]
        return "deleting its states" if dying else STATES[int(self.value["m_state"])]

    def activations(self):
        return int(self.value["m_activations"])

    def parent(self):
        return self.value["m_parent"]["_M_ptr"]

    def children(self):
        """In the order of their creation."""
        if self.scope == SCOPES[-1]:
            return []
        scope = SCOPES[SCOPES.index(self.scope) + 1]
        offset = base_offset(context_type(scope), "ChildLink")
        return [Context.at(node - offset, scope) for node in list_nodes(self.value["m_children"])]

    def states(self, names):
        """Newest first; `names` are those of `type_names`."""
        for item in items(self.value["m_store"]):
            yield StoredState(item, names.get((self.scope, int(item["typeID"]))))

    def with_descendants(self):
        """Each before its children."""
        yield self
        for child in self.children():
            yield from child.with_descendants()


def debug_information_is_missing():
    try:
        evaluate("&'foundation::tav::management::inspectContexts()'")
    except gdb.error:
        return gdb.GdbError("This program doesn't use foundation::tav, or has not loaded it yet.")
    return gdb.GdbError(
        "There is no debug information of foundation::tav: build the library with -g, don't strip it, or have its "
        "debug information where gdb looks (show debug-file-directory)."
    )


def process_slot():
    """The variable that has the active Process context; None without debug information."""
    return gdb.lookup_static_symbol("(anonymous namespace)::activeProcessContext")


def active_process():
    """The active Process context, or None."""
    if not gdb.selected_inferior().threads():
        raise gdb.GdbError("There is no process and no core file to look at.")
    slot = process_slot()
    if slot is None:
        raise debug_information_is_missing()
    pointer = slot.value()["_M_b"]["_M_p"]
    return Context(pointer.dereference()) if pointer else None


def current_address(scope):
    """Of the context that is current on the selected thread, or 0. Compilers describe the variable differently; this
    takes the linker's symbol where there is no better one."""
    slot = f"'(anonymous namespace)::currentContext<foundation::tav::scope::{scope}>'"
    return int(evaluate(f"(void*){slot}"))


class Thread:
    """A thread of the program and its current contexts."""

    def __init__(self, thread):
        self.number = thread.num
        self.addresses = {}
        self.failure = None
        if thread.is_running():
            self.failure = "can't be told, it is running"
            return
        thread.switch()
        try:
            self.addresses = {scope: current_address(scope) for scope in THREAD_SCOPES}
        except gdb.error as error:
            self.failure = f"can't be told: {str(error).splitlines()[-1]}"

    def __str__(self):
        return f"thread {self.number}"


def all_threads():
    """In gdb's order; the selected thread and frame stay what they are."""
    selected = gdb.selected_thread()
    frame = gdb.selected_frame() if selected and selected.is_stopped() else None
    try:
        return sorted(map(Thread, gdb.selected_inferior().threads()), key=lambda thread: thread.number)
    finally:
        if selected:
            selected.switch()
        if frame:
            frame.select()


# ----------------------------------------------------------------------------------------------------------------------
# Commands


def counted(count, noun):
    return f"{count} {noun if count == 1 else noun + 's'}"


def described(context):
    """A context in one line."""
    return f"{context} ({context.life()}, {counted(context.activations(), 'activation')})"


def write(line):
    gdb.write(line + "\n")


def refuse_argument(argument):
    if argument:
        raise gdb.GdbError("This command takes no argument.")


class Tav(gdb.Command):
    """The contexts and states of foundation::tav in the program, or in the core file."""

    def __init__(self):
        super().__init__("tav", gdb.COMMAND_DATA, prefix=True)

    def invoke(self, argument, _):
        if argument:
            raise gdb.GdbError(f'Undefined tav command: "{argument}". Try "help tav".')
        gdb.execute("help tav")


class Command(gdb.Command):
    """A command that says what it can't do without a Python traceback."""

    def __init__(self, name):
        super().__init__(f"tav {name}", gdb.COMMAND_DATA)

    def invoke(self, argument, _):
        try:
            self.run(argument)
        except gdb.error as error:
            raise gdb.GdbError(str(error)) from None


class Contexts(Command):
    """Show the active Process context and all contexts below it, with their states.

    Children are in the order of their creation; states come newest first, each with its type as far as it is known,
    its id, the address of the object, and the function that will delete it with the file that has this function."""

    def __init__(self):
        super().__init__("contexts")

    def run(self, argument):
        refuse_argument(argument)
        process = active_process()
        if process is None:
            write("No Process context is active.")
            return
        threads = all_threads()
        self.write_tree(process, "", threads, type_names())
        for thread in threads:
            if thread.failure:
                write(f"{thread}: {thread.failure}")

    def write_tree(self, context, indentation, threads, names):
        at_work = [thread for thread in threads if thread.addresses.get(context.scope) == context.address]
        write(indentation + ", ".join([described(context), *(f"current on {thread}" for thread in at_work)]))
        for state in context.states(names):
            write(f"{indentation}  {state.name()} at {state.address:#x}, deleted by {state.deleter_text()}")
        for child in context.children():
            self.write_tree(child, indentation + "  ", threads, names)


class Current(Command):
    """Show the contexts that operations on states work on: the active Process context, and each thread's current ones.

    A context that is current and not below the active Process context is being destroyed, or belongs to another one."""

    def __init__(self):
        super().__init__("current")

    def run(self, argument):
        refuse_argument(argument)
        process = active_process()
        write(f"every thread: {described(process) if process else 'no Process context'}")
        for thread in all_threads():
            contexts = [
                described(Context.at(address, scope)) if address else f"no {scope} context"
                for scope, address in thread.addresses.items()
            ]
            write(f"{thread}: {', '.join(contexts) or thread.failure}")


class StateOf(Command):
    """Print the states of a type: tav state TYPE

    The name is the one that "tav contexts" shows. All contexts below the active Process context are looked at. The
    objects go into gdb's value history."""

    def __init__(self):
        super().__init__("state")

    def run(self, argument):
        argument = argument.strip()
        if not argument:
            raise gdb.GdbError("Say which type: tav state TYPE")
        stored = self.stored()
        found = [(context, state) for context, state in stored if state.type_name() == argument]
        if not found:
            names = ", ".join(sorted({state.type_name() or state.name() for _, state in stored})) or "none"
            raise gdb.GdbError(f"There is no state of type '{argument}'. States that there are: {names}")
        for context, state in found:
            write(f"{state.name()} at {state.address:#x} in {context}")
            self.write_object(state.address, argument)

    def complete(self, text, word):
        """The word is the end of the text: gdb takes what stands before it as given."""
        try:
            names = {state.type_name() for _, state in self.stored()} - {None}
        except (gdb.error, gdb.GdbError):
            return gdb.COMPLETE_NONE
        return sorted(name[len(text) - len(word) :] for name in names if name.startswith(text))

    @staticmethod
    def stored():
        """Each state with its context."""
        process = active_process()
        if process is None:
            raise gdb.GdbError("No Process context is active.")
        names = type_names()
        return [(context, state) for context in process.with_descendants() for state in context.states(names)]

    @staticmethod
    def write_object(address, name):
        try:
            value = object_at(address, gdb.lookup_type(name))
        except gdb.error:
            write("There is no debug information of this type.")
            return
        write(f"${gdb.add_history(value)} = {value.format_string()}")


# ----------------------------------------------------------------------------------------------------------------------
# Printers


def named(pointer, scope):
    """A context by its address, for one line with others."""
    return f"{scope} {int(pointer):#x}" if pointer else f"no {scope}"


def named_set(record):
    """The two contexts of a ContextSet::Pimpl."""
    return ", ".join(named(record[scope.lower()]["_M_ptr"], scope) for scope in THREAD_SCOPES)


class ContextImplPrinter:
    """A context: what it is, its parent, states and children."""

    def __init__(self, value):
        context = Context(value)
        pointer = gdb.lookup_type("void").pointer()
        self.text = described(context)
        self.parts = [("parent", context.parent().cast(pointer))] if context.scope != "Process" else []
        self.parts.append(("holds", value["m_store"]))
        for number, child in enumerate(context.children()):
            self.parts.append((f"child {number}", gdb.Value(child.address).cast(pointer)))

    def to_string(self):
        return self.text

    def children(self):
        return iter(self.parts)


class HandlePrinter:
    """A Context<Scope>: the context that it owns."""

    def __init__(self, value):
        record = unique_pointer(value["m_pimpl"])
        self.impl = ContextImplPrinter(record["context"]["_M_ptr"].dereference()) if record else None

    def to_string(self):
        return f"handle of {self.impl.to_string()}" if self.impl else "empty handle"

    def children(self):
        return self.impl.children() if self.impl else iter(())


class TextPrinter:
    """What is a line of text, which `read` makes of the value."""

    def __init__(self, value):
        self.text = self.read(value)

    def to_string(self):
        return self.text


class ContextSetPrinter(TextPrinter):
    def read(self, value):
        record = unique_pointer(value["m_pimpl"])
        return f"set of {named_set(record)}" if record else "set that was moved from"


class ContextActivatorPrinter(TextPrinter):
    def read(self, value):
        record = unique_pointer(value["m_pimpl"])
        if not record:
            return "deactivated activator"
        return f"activator of {named_set(record['active'])}; before: {named_set(record['previous'])}"


class NullContextPrinter(TextPrinter):
    def read(self, value):
        return f"no {value.type.strip_typedefs().template_argument(0).name.rpartition('::')[2]} context"


class StatePtrPrinter(TextPrinter):
    def read(self, value):
        state = State(value)
        if not state.address:
            return "no state"
        return f"{state.type_name() or 'state'} at {state.address:#x}, deleted by {state.deleter_text()}"


class InstanceManagerPrinter:
    """The store of one context, newest first."""

    def __init__(self, value):
        self.items = items(value)

    def to_string(self):
        return counted(len(self.items), "state")

    def children(self):
        return ((f"id {int(item['typeID'])}", item.cast(item.type.fields()[0].type)) for item in self.items)


def or_why_not(printer):
    """The printer, or one that says why there is nothing to print."""

    class Failed(TextPrinter):
        def read(self, error):
            return f"<{error if process_slot() else 'no debug information of foundation::tav'}>"

    def make(value):
        try:
            return printer(value.referenced_value() if value.type.code == gdb.TYPE_CODE_REF else value)
        except gdb.error as error:
            return Failed(error)

    return make


def make_printers():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("foundation_tav")
    scope = r"<foundation::tav::scope::\w+>$"
    management = "^foundation::tav::management::"
    for name, pattern, printer in (
        ("Context", f"{management}Context{scope}", HandlePrinter),
        ("ContextSet", f"{management}ContextSet$", ContextSetPrinter),
        ("ContextActivator", f"{management}thisthread::ContextActivator$", ContextActivatorPrinter),
        ("NullContext", f"{management}NullContext{scope}", NullContextPrinter),
        ("StatePtr", r"^std::unique_ptr<void, ?void ?\(\*\)\(void ?\*\) ?>$", StatePtrPrinter),
        ("ContextImpl", rf"^\(anonymous namespace\)::ContextImpl{scope}", ContextImplPrinter),
        ("InstanceManager", r"^\(anonymous namespace\)::InstanceManager$", InstanceManagerPrinter),
    ):
        printers.add_printer(name, pattern, or_why_not(printer))
    return printers


PRINTERS = make_printers()


def register_printers(_=None):
    """With the file that gdb asks first: a StatePtr would be printed by the standard library's printers otherwise."""
    for objfile in gdb.objfiles()[:1]:
        others = [printer for printer in objfile.pretty_printers if getattr(printer, "name", "") != PRINTERS.name]
        objfile.pretty_printers = [PRINTERS, *others]


register_printers()
gdb.events.new_objfile.connect(register_printers)

Tav()
Contexts()
Current()
StateOf()
