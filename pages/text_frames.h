// Property pages of the text find and replace actions, the text-file and
// list iterators and the sort action.
#pragma once

#include "package/registration.h"

namespace brivant::pages {

const TBVDesignClass& TReadTextFileIteratorFrame();
const TBVDesignClass& TListIteratorFrame();
const TBVDesignClass& TListIteratorSeparatorFrame();
const TBVDesignClass& TfrmTextReplace();
const TBVDesignClass& TTextFindFrame();
const TBVDesignClass& TTextFindReplaceFrame();
const TBVDesignClass& TTextFindBehaviourFrame();
const TBVDesignClass& TSortFrame();

}  // namespace brivant::pages
