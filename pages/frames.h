// Property pages: the designer's editing pages, one set per action. A page
// names the published properties its controls read and write back, in the
// order it shows them; a designer builds the controls from the property table.
#pragma once

#include "package/registration.h"

namespace brivant::pages {

const TBVDesignClass& TGetDateTimeFrame();
const TBVDesignClass& TCreateFileFrame();
const TBVDesignClass& TWriteToTextFileFrame();
const TBVDesignClass& TReadFileFrame();
const TBVDesignClass& TRandomFrame();

}  // namespace brivant::pages
