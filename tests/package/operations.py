"""Lists the link names of operations in the namespace Kelp.

    operations.py public|private

Reads the declarations as Clang dumps them in JSON from standard input. A public operation is a member function that is
public, or protected for derived classes, of a class that can be reached from outside; what the compiler makes itself,
what is deleted, abstract or a template is none. A constructor counts twice, once for whole objects and once for the base
part of a derived class's; an abstract class, which has no objects of its own, needs the second alone.
A private operation is what such a class keeps to itself: its private functions, but for those that the tables of derived
classes refer to, and its private static members.
"""
import json
import sys

CLASSES = ("CXXRecordDecl",)
WANTED = sys.argv[1]
FUNCTIONS = ("CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl")


def link_name(node):
    return node.get("mangledName")


def is_operation(node):
    return not (node.get("isImplicit") or node.get("explicitlyDeleted") or node.get("pure")) and link_name(node)


def list_class(node):
    if not node.get("completeDefinition"):
        return
    access = "public" if node.get("tagUsed") != "class" else "private"
    for member in node.get("inner", []):
        kind = member.get("kind")
        if kind == "AccessSpecDecl":
            access = member["access"]
        elif access == "private":
            list_private(member)
        elif kind in CLASSES:
            list_class(member)
        elif kind in FUNCTIONS and is_operation(member) and WANTED == "public":
            list_operation(member, node["definitionData"].get("isAbstract", False))


def list_private(node):
    is_function = node["kind"] == "CXXMethodDecl" and is_operation(node) and not is_virtual(node)
    is_static = node["kind"] == "VarDecl" and link_name(node)
    if WANTED == "private" and (is_function or is_static):
        print(link_name(node))


def is_virtual(node):
    return node.get("virtual") or any(part.get("kind") == "OverrideAttr" for part in node.get("inner", []))


def list_operation(node, is_abstract):
    name = link_name(node)
    if node["kind"] == "CXXConstructorDecl":
        print(name.replace("C1E", "C2E", 1))
    if node["kind"] != "CXXConstructorDecl" or not is_abstract:
        print(name)


def list_scope(node):
    for member in node.get("inner", []):
        kind = member.get("kind")
        if kind == "NamespaceDecl":
            list_scope(member)
        elif kind in CLASSES:
            list_class(member)
        elif kind == "FunctionDecl" and is_operation(member) and WANTED == "public":
            print(link_name(member))


def documents(text):
    decoder = json.JSONDecoder()
    position = 0
    while True:
        position = text.find("\n{", position) if position or not text.startswith("{") else 0
        if position == -1:
            return
        document, position = decoder.raw_decode(text, position + (text[position] == "\n"))
        yield document


for document in documents(sys.stdin.read()):
    list_scope(document if document.get("kind") == "NamespaceDecl" else {"inner": [document]})
