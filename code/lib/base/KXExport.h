#pragma once
// Framework classes keep default visibility also in modules built with
// -fvisibility=hidden: a plug-in then uses the libraries' type information (one
// identity for catch and dynamic_cast) and exports the framework's inline members
// it instantiates, as the host expects.
#define KX_EXPORT __attribute__((visibility("default")))
