<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar" sourcelanguage="en">
<context>
    <name>QAbstractFileIconProvider</name>
    <message>
        <source>Drive</source>
        <translation>القرص</translation>
    </message>
    <message>
        <source>File</source>
        <translation>ملفّ</translation>
    </message>
    <message>
        <source>Folder</source>
        <comment>All other platforms</comment>
        <translation>مجلّد</translation>
    </message>
    <message>
        <source>Shortcut</source>
        <comment>All other platforms</comment>
        <translation>اختصار</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>مجهول</translation>
    </message>
</context>
<context>
    <name>QAbstractSpinBox</name>
    <message>
        <source>&amp;Select All</source>
        <translation>&amp;حدّد الكل</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>Select All</source>
        <translation>حدّد الكل</translation>
    </message>
</context>
<context>
    <name>QWidgetTextControl</name>
    <message>
        <source>Select All</source>
        <translation>حدّد الكل</translation>
    </message>
</context>
<context>
    <name>QFileDialog</name>
    <message>
        <source>&amp;Look in:</source>
        <extracomment>In newer versions of Qt.</extracomment>
        <translation>ال&amp;مكان:</translation>
    </message>
    <message>
        <source>Files of &amp;type:</source>
        <extracomment>In newer versions of Qt.</extracomment>
        <translation>الملفّات من ال&amp;نّوع:</translation>
    </message>
    <message>
        <source>Look in:</source>
        <translation>المكان:</translation>
    </message>
</context>
<context>
    <name>QShortcut</name>
    <message>
        <source>Ctrl</source>
        <extracomment>Begins with a left-to-right isolate (U+2066), see the glossary.</extracomment>
        <translation>⁦Ctrl</translation>
    </message>
</context>
</TS>
