// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

// Boost marks its exceptions visible even where everything else is hidden; nothing of it may leave
// the library, so the mark is made to say nothing.
#include <boost/config.hpp>
#undef BOOST_SYMBOL_VISIBLE
#define BOOST_SYMBOL_VISIBLE

// The parser begins with a pool on the stack, 64 KiB unless told otherwise. Small threads need that
// for the levels of a document; the pools that follow are on the heap.
#define BOOST_PROPERTY_TREE_RAPIDXML_STATIC_POOL_SIZE (4 * 1024)

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

namespace tarn {

/// A node of a settings tree: data and named children.
using PropertyTree = boost::property_tree::ptree;

} // namespace tarn
