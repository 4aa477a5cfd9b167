#ifndef ZORNX_CODEEDIT_CODEWORKSPACE_H
#define ZORNX_CODEEDIT_CODEWORKSPACE_H

#include <zornx/editor/workspace.h>

class QTextDocument;

namespace Zorn {

class CodeDocument;
class CodeEditor;
class CodeWorkspacePrivate;
class Editor;
class Interface;

// The workspace that carries text: one CodeEditor under a tool bar with the snippet and error
// lists, the "Code" and "Encoding" menus, and the glue between them and the current document.
// Every text editor shares it and hands it its document with setDocument().
class ZORNX_EXPORT CodeWorkspace : public Workspace
{
    Q_OBJECT
public:
    // For an editor that shows a text view of its own beside the workspace (the animation
    // editor): the document of that view, or null. Zooming also sets the font there.
    using EditorDocumentHook = QTextDocument *(*)(Editor *editor);

    explicit CodeWorkspace(Interface &iface);
    ~CodeWorkspace() override;

    CodeEditor *editor() const;
    // Shows document (null: "No document."), remembering the view of the one it replaces
    // in that document's objectName as "line,column,scroll".
    void setDocument(CodeDocument *document);
    // A widget right of the editor column.
    void addWidget(QWidget *widget);
    const Interface &interfaceObject() const;

    // Installed once by the layer that defines such editors; null removes it.
    static void setEditorDocumentHook(EditorDocumentHook hook);

    void release() override;
    const char *name() const override;
    QWidget *widget() const override;
    void engineSwitched(bool enabled) override;
    void activate() override;
    void deactivate() override;
    void reconfig() override;
    void retranslate() override;

public Q_SLOTS:
    // Asks for the document's encoding.
    void statusClicked() override;
    void zoomActual() override;
    void zoomFit() override;
    void zoomIn() override;
    void zoomOut() override;

private:
    CodeWorkspacePrivate *d;
};

} // namespace Zorn

#endif
