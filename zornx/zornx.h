#ifndef ZORNX_ZORNX_H
#define ZORNX_ZORNX_H

// Every public header of the library.

#include <zornx/global.h>

#include <zornx/core/archive.h>
#include <zornx/core/color.h>
#include <zornx/core/engine.h>
#include <zornx/core/extension.h>
#include <zornx/core/interface.h>
#include <zornx/core/messages.h>
#include <zornx/core/object.h>
#include <zornx/core/plaintranslator.h>
#include <zornx/core/propertyitem.h>
#include <zornx/core/translator.h>

#include <zornx/project/organizable.h>
#include <zornx/project/parentproject.h>
#include <zornx/project/project.h>
#include <zornx/project/projectfile.h>
#include <zornx/project/treemodel.h>

#include <zornx/cache/asyncfilecache.h>
#include <zornx/cache/diskcache.h>
#include <zornx/cache/filecache.h>
#include <zornx/cache/streamcache.h>

#include <zornx/code/codeblockdata.h>
#include <zornx/code/codedocument.h>
#include <zornx/code/codeeditor.h>
#include <zornx/code/codenode.h>
#include <zornx/code/codenodefile.h>
#include <zornx/code/codeparser.h>
#include <zornx/code/textcodecs.h>

#include <zornx/sound/audiodata.h>
#include <zornx/sound/audiotool.h>
#include <zornx/sound/audiowaveform.h>
#include <zornx/sound/soundsample.h>

#include <zornx/editor/editor.h>
#include <zornx/editor/filebrowseedit.h>
#include <zornx/editor/itemsdialog.h>
#include <zornx/editor/menu.h>
#include <zornx/editor/multivaluewidget.h>
#include <zornx/editor/propertyedit.h>
#include <zornx/editor/section.h>
#include <zornx/editor/workspace.h>
#include <zornx/image/gifimage.h>
#include <zornx/image/imagecodecs.h>
#include <zornx/image/imageoperations.h>
#include <zornx/image/palette.h>
#include <zornx/image/sprite.h>
#include <zornx/animation/animationcode.h>

#include <zornx/codeedit/codefileeditor.h>
#include <zornx/codeedit/codeworkspace.h>
#include <zornx/codeedit/snippets.h>

#endif
