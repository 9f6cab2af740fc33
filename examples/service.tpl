<!-- SPDX-License-Identifier: MIT -->
<!-- An automatic report of the applications gen1 and ana2, as tarix-sim makes them. -->
<report>
<section id=head, top=0>
<row cstyle='Measurement %s'><value var=report-name></value></row>
<row cstyle='%-10s %s'><value>Site</value><value var=site></value></row>
<row cstyle='%-10s %s'><value>Start</value><value global=%start-time, conv=dateTime></value></row>
<row cstyle='%-10s %s'><value>Duration</value><value global=%elapsed-time, conv=time></value></row>
</section>
<section id=both, top=0>
<row cstyle='%-10s %12s %12s %8s'><value></value><value>Frames</value><value>Data</value><value>Link</value></row>
<row cstyle='%-10s %12u %12s %8s'><value>Generator</value><value link=gen1@frames></value><value link=gen1@bytes, conv=units(B=1:%.0f;MB=1e6:%.2f)></value><value link=gen1@linkState></value></row>
<row cstyle='%-10s %12u %12s %8s'><value>Analyser</value><value link=ana2@frames></value><value link=ana2@bytes, conv=units(B=1:%.0f;MB=1e6:%.2f)></value><value link=ana2@linkState></value></row>
<row cstyle='%-10s %s'><value>Alarms</value><value link=ana2@alarms></value></row>
</section>
</report>
