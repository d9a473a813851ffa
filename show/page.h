// One page of HTML that shows machines and their parts, complete in itself: it asks for nothing,
// and its content security policy forbids that and any script but its own. It can be read without
// scripts, which sort and search.
#pragma once

#include <chrono>
#include <ostream>
#include <vector>

#include "inventory.h"

namespace show {

// One machine is drawn. Of several there is a list to search and sort, with a link to the drawing
// of each. Ages are those at `now`.
void writePage(std::ostream& out, const std::vector<NamedInventory>& machines,
               std::chrono::system_clock::time_point now);

}  // namespace show
