#!/usr/bin/env python3
"""Checks the framework's layering: the quoted includes of a source tree (a .cpp and
its .h counted as one node) contain no circle, and, given the layer table of a README,
no file includes a file of a higher layer and every file has its layer.

    check_layers.py SRC_DIR [README]   exit 0 when the tree is layered, 1 otherwise
    check_layers.py --self-test        shows that both faults are caught
"""
import os
import re
import sys
import tempfile

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)
LAYER_ROW = re.compile(r'^\|\s*(\d+)\s*\|[^|]*\|([^|]*)\|', re.M)


def include_graph(src):
    """Node (path below src without extension) -> set of nodes it includes."""
    files = {}
    for folder, _, names in os.walk(src):
        for name in names:
            if name.endswith(('.h', '.cpp')):
                path = os.path.join(folder, name)
                files[os.path.normpath(path)] = os.path.splitext(os.path.relpath(path, src))[0]
    by_name = {}
    for path in files:
        by_name.setdefault(os.path.basename(path), []).append(path)
    graph = {node: set() for node in files.values()}
    for path, node in files.items():
        with open(path, errors='replace') as f:
            for target in INCLUDE.findall(f.read()):
                found = os.path.normpath(os.path.join(os.path.dirname(path), target))
                if found not in files:  # found through the include directories
                    same = by_name.get(os.path.basename(target), [])
                    found = same[0] if len(same) == 1 else None
                if found and files[found] != node:
                    graph[node].add(files[found])
    return graph


def circles(graph):
    """The strongly connected components of more than one node (Tarjan)."""
    index, low, stack, on_stack, found = {}, {}, [], set(), []

    def visit(v):
        index[v] = low[v] = len(index)
        stack.append(v)
        on_stack.add(v)
        for w in sorted(graph[v]):
            if w not in index:
                visit(w)
                low[v] = min(low[v], low[w])
            elif w in on_stack:
                low[v] = min(low[v], index[w])
        if low[v] == index[v]:
            component = []
            while True:
                w = stack.pop()
                on_stack.discard(w)
                component.append(w)
                if w == v:
                    break
            if len(component) > 1:
                found.append(sorted(component))

    sys.setrecursionlimit(10000)
    for v in sorted(graph):
        if v not in index:
            visit(v)
    return found


def layer_table(readme):
    """Node -> layer number, from the rows "| n | name | node, node |" of a README."""
    layers = {}
    with open(readme) as f:
        for number, nodes in LAYER_ROW.findall(f.read()):
            for node in nodes.replace('`', '').split(','):
                if node.strip():
                    layers[node.strip()] = int(number)
    return layers


def problems(src, readme=None):
    if not os.path.isdir(src):
        return ['%s is no folder' % src]
    graph = include_graph(src)
    found = ['include circle: ' + ' -> '.join(c) for c in circles(graph)]
    if readme:
        layers = layer_table(readme)
        for node in sorted(graph):
            if node not in layers:
                found.append('%s has no layer in %s' % (node, readme))
                continue
            for target in sorted(graph[node]):
                if layers.get(target, 0) > layers[node]:
                    found.append('%s (layer %d) includes %s of layer %d above it'
                                 % (node, layers[node], target, layers[target]))
        for node in sorted(set(layers) - set(graph)):
            found.append('%s is in the layer table but not in %s' % (node, src))
    return found


def self_test():
    """A tree with a circle and an upward include must both be reported."""
    with tempfile.TemporaryDirectory() as src:
        def write(name, *includes):
            with open(os.path.join(src, name), 'w') as f:
                f.writelines('#include "%s"\n' % i for i in includes)
        write('low.h')
        write('low.cpp', 'low.h', 'high.h')  # upward
        write('high.h', 'low.h')
        write('a.h')
        write('a.cpp', 'a.h', 'b.h')          # a -> b -> a: a circle
        write('b.h')
        write('b.cpp', 'b.h', 'a.h')
        readme = os.path.join(src, 'README.md')
        with open(readme, 'w') as f:
            f.write('| 1 | bottom | low, a, b |\n| 2 | top | high |\n')
        found = problems(src, readme)
    expected = ['include circle: a -> b', 'low (layer 1) includes high of layer 2 above it']
    missing = [e for e in expected if e not in found]
    for e in missing:
        print('not reported:', e)
    return 1 if missing else 0


def main(argv):
    if argv[1:] == ['--self-test']:
        return self_test()
    if len(argv) not in (2, 3):
        print(__doc__)
        return 2
    found = problems(argv[1], argv[2] if len(argv) == 3 else None)
    for p in found:
        print(p)
    print('%s: %s' % (argv[1], 'layered' if not found else '%d problem(s)' % len(found)))
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
