// Property pages: the designer's editing pages, one set per action. A page
// names the published properties its controls read and write back, in the
// order it shows them; a designer builds the controls from the property table.
#pragma once

#include "package/registration.h"

namespace brivant::pages {

const TBVDesignClass& TCheckFileFrame();
const TBVDesignClass& TMoveDirectoryFrame();
const TBVDesignClass& TDeleteDirFrame();
const TBVDesignClass& TDeleteFilesFrame();
const TBVDesignClass& TFileAttributeFrame();
const TBVDesignClass& TFileIteratorFrame();
const TBVDesignClass& TFolderIteratorFrame();
const TBVDesignClass& TCopyFrame();
const TBVDesignClass& TTouchFrame();
const TBVDesignClass& TCreateDirectoryFrame();
const TBVDesignClass& TRenameDirFrame();
const TBVDesignClass& TGetFileSizeFrame();
const TBVDesignClass& TConcatFilesFrame();
const TBVDesignClass& TDiskFreeSpaceFrame();
const TBVDesignClass& TFileSetCopyMoveFrame();
const TBVDesignClass& TGetDateTimeFrame();
const TBVDesignClass& TCreateFileFrame();
const TBVDesignClass& TWriteToTextFileFrame();
const TBVDesignClass& TReadFileFrame();
const TBVDesignClass& TExtractFileVersionInfoFrame();
const TBVDesignClass& TFileCRCFrame();
const TBVDesignClass& TFileMD5Frame();
const TBVDesignClass& TFileCompareFrame();
const TBVDesignClass& TRandomFrame();
const TBVDesignClass& TRunProgramFrame();
const TBVDesignClass& TRunDosCmdFrame();
const TBVDesignClass& TReadIniFrame();
// Shared by Write Ini File and Erase Ini File Section.
const TBVDesignClass& TWriteIniFrame();
const TBVDesignClass& TIniFileIteratorFrame();
// The first page of both variables actions; the second is their own.
const TBVDesignClass& TVariablesSaveLoadForm();
const TBVDesignClass& TVariablesSaveOptionsFrame();
const TBVDesignClass& TVariablesLoadOptionsFrame();
const TBVDesignClass& TLogVarFrame();
const TBVDesignClass& TReplaceVariablesFrame();
const TBVDesignClass& TReadRegistryFrame();
const TBVDesignClass& TBVShellExecuteFrame();
const TBVDesignClass& TBVIfCOMClassRegFrame();
const TBVDesignClass& TCloseProcessFrame();
const TBVDesignClass& TMutexActionFrame();
// A page of explanation only; it edits no property.
const TBVDesignClass& TRunDOSReadme();

}  // namespace brivant::pages
