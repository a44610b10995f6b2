// Property pages of the actions that drive external copy tools: XCopy, the
// Robocopy actions and the Robocopy options page. Several Robocopy actions
// share a page; each shows only the controls of properties it publishes.
#pragma once

#include "package/registration.h"

namespace brivant::pages {

const TBVDesignClass& TXCopyMainFrame();
const TBVDesignClass& TXCopyOptionsFrame();
const TBVDesignClass& TXCopyAttribFrame();
const TBVDesignClass& TBVXcopyExcludeFilesFrame();

const TBVDesignClass& TRobocopyOptionsFrame();
const TBVDesignClass& TRobocopyMainFrame();
const TBVDesignClass& TRobocopyCopyOptionsFrame();
const TBVDesignClass& TRobocopyMoveOptionsFrame();
const TBVDesignClass& TRobocopyIncludeFrame();
const TBVDesignClass& TRobocopyExcludeFrame();
const TBVDesignClass& TBVRobocopyExcludeFilesFrame();
const TBVDesignClass& TBVRobocopyExcludeDirFrame();
const TBVDesignClass& TRobocopyJobsFrame();
const TBVDesignClass& TRobocopyLogOptionsFrame();

}  // namespace brivant::pages
