<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- The app's strings table, by key. ".DICT." keys give the plural forms of their format;
     every other key is the English text itself. Texts use the app's format syntax (%d, %@, %1$@). -->
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name></name>
    <message id=".DICT.ITEMS.%d" numerus="yes">
        <source>%d Items</source>
        <translation>
            <numerusform>%d Item</numerusform>
            <numerusform>%d Items</numerusform>
        </translation>
    </message>
    <message id=".DICT.AVAILABLE.%g" numerus="yes">
        <source>%2$@ available</source>
        <translation>
            <numerusform>%2$@ available</numerusform>
            <numerusform>%2$@ available</numerusform>
        </translation>
    </message>
    <message id=".DICT.ITEMS_SELECTED.%d" numerus="yes">
        <source>%d Items Selected</source>
        <translation>
            <numerusform>%d Item Selected</numerusform>
            <numerusform>%d Items Selected</numerusform>
        </translation>
    </message>
    <message id=".DICT.MOVE_ITEMS.%d" numerus="yes">
        <source>Move %d Items</source>
        <translation>
            <numerusform>Move %d Item</numerusform>
            <numerusform>Move %d Items</numerusform>
        </translation>
    </message>
    <message id=".DICT.CANNOT_MOVE_ITEMS.%d" numerus="yes">
        <source>%d items couldn’t be moved.</source>
        <translation>
            <numerusform>%d item couldn’t be moved.</numerusform>
            <numerusform>%d items couldn’t be moved.</numerusform>
        </translation>
    </message>
    <message id=".DICT.CANNOT_DELETE_ITEMS.%d" numerus="yes">
        <source>%d items couldn’t be deleted.</source>
        <translation>
            <numerusform>%d item couldn’t be deleted.</numerusform>
            <numerusform>%d items couldn’t be deleted.</numerusform>
        </translation>
    </message>
    <message id="%1$@, %2$@">
        <source>%1$@, %2$@</source>
        <translation>%1$@, %2$@</translation>
    </message>
</context>
</TS>
