<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>installer-host</name>
    <message>
        <source>Install %1</source>
        <translation>%1 installieren</translation>
    </message>
    <message>
        <source>This installer takes you through a few short steps. Each one tells you what it found and what you can do about it.</source>
        <translation>Dieses Installationsprogramm führt Sie durch einige kurze Schritte. Jeder sagt Ihnen, was er vorgefunden hat und was Sie tun können.</translation>
    </message>
    <message>
        <source>You can go back at any time. Nothing on this computer changes until you say so.</source>
        <translation>Sie können jederzeit zurückgehen. An diesem Computer ändert sich nichts, solange Sie es nicht sagen.</translation>
    </message>
    <message>
        <source>Choose “Continue” to begin.</source>
        <translation>Wählen Sie „Fortfahren“, um zu beginnen.</translation>
    </message>
    <message>
        <source>%1 is ready to be installed</source>
        <translation>%1 kann jetzt installiert werden</translation>
    </message>
    <message>
        <source>All steps are done. You can go back to look at them again.</source>
        <translation>Alle Schritte sind erledigt. Sie können zurückgehen und sie noch einmal ansehen.</translation>
    </message>
    <message>
        <source>This program shows an installer’s steps and installs nothing itself, so nothing has been installed.</source>
        <translation>Dieses Programm zeigt die Schritte einer Installation und installiert selbst nichts; es wurde also nichts installiert.</translation>
    </message>
    <message>
        <source>This step cannot be shown</source>
        <translation>Dieser Schritt kann nicht angezeigt werden</translation>
    </message>
    <message>
        <source>The other steps can still be used.</source>
        <translation>Die anderen Schritte können Sie weiterhin verwenden.</translation>
    </message>
    <message>
        <source>the product</source>
        <translation>Das Produkt</translation>
    </message>
    <message>
        <source>The product</source>
        <translation>Das Produkt</translation>
    </message>
    <message>
        <source>Introduction</source>
        <translation>Einführung</translation>
    </message>
    <message>
        <source>Summary</source>
        <translation>Zusammenfassung</translation>
    </message>
    <message>
        <source>Installer</source>
        <translation>Installationsprogramm</translation>
    </message>
    <message>
        <source>Go &amp;Back</source>
        <translation>&amp;Zurück</translation>
    </message>
    <message>
        <source>&amp;Continue</source>
        <translation>&amp;Fortfahren</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Schließen</translation>
    </message>
    <message>
        <source>Step %1 of %2</source>
        <translation>Schritt %1 von %2</translation>
    </message>
    <message>
        <source>Back to %1</source>
        <translation>Zurück zu %1</translation>
    </message>
    <message>
        <source>Do you want to leave the installer?</source>
        <translation>Möchten Sie die Installation verlassen?</translation>
    </message>
    <message>
        <source>The remaining steps have not been shown.</source>
        <translation>Die übrigen Schritte wurden noch nicht angezeigt.</translation>
    </message>
    <message>
        <source>&amp;Stay</source>
        <translation>&amp;Bleiben</translation>
    </message>
    <message>
        <source>&amp;Leave</source>
        <translation>&amp;Verlassen</translation>
    </message>
    <message>
        <source>done</source>
        <translation>erledigt</translation>
    </message>
    <message>
        <source>current step</source>
        <translation>aktueller Schritt</translation>
    </message>
    <message>
        <source>to come</source>
        <translation>steht noch aus</translation>
    </message>
    <message>
        <source>cannot be shown</source>
        <translation>kann nicht angezeigt werden</translation>
    </message>
    <message>
        <source>Steps</source>
        <translation>Schritte</translation>
    </message>
</context>
</TS>
