<!-- SPDX-License-Identifier: MIT -->
<!-- The acceptance report of an Ethernet line. Labels are keys of the dictionary "tester". -->
<report dict=tester[1;2]>

<css style=font-family:Helvetica-Bold;font-size:18>
<row cstyle='%s'><value dict>title</value></row>
<css style=font-family:Courier;font-size:10>

<section id=head, bottom=0>
<row cstyle='%-24s %s'><value dict>report</value><value var=report-name></value></row>
<row cstyle='%-24s %s'><value dict>site</value><value var=site></value></row>
<row cstyle='%-24s %s'><value dict>operator</value><value var=operator></value></row>
<row cstyle='%-24s %s (%s)'><value dict>instrument</value><value link=tester@model></value><value link=tester@serial></value></row>
<row cstyle='%-24s %u'><value dict>build</value><value link=tester@build></value></row>
<row cstyle='%-24s %s'><value dict>start</value><value global=%start-time, conv=dateTime></value></row>
<row cstyle='%-24s %s'><value dict>stop</value><value global=%stop-time, conv=dateTime></value></row>
<row cstyle='%-24s %s'><value dict>elapsed</value><value global=%elapsed-time, conv=time></value></row>
<row cstyle='%-24s %s'><value dict>verdict</value><value link=tester@verdict></value></row>
</section>

<!-- What the customer wants on top of every report, when there is something. -->
<include file=parts/customer.tpl, optional>

<include file=parts/heading.tpl(title:instrument)>
<section id=instrument, top=0, bottom=0>
<row cstyle='  %-22s %12s'><value dict>power</value><value link=tester@power></value></row>
<row cstyle='  %-22s %10u %%'><value dict>battery</value><value link=tester@battery></value></row>
<row cstyle='  %-22s %12s'><value dict>temperature</value><value link=tester@temperature, conv=units(C=10:%.1f)></value></row>
<row cstyle='  %-22s %12s'><value dict>temperature.max</value><value link=tester@temperature:max, conv=units(C=10:%.1f)></value></row>
<row cstyle='  %-22s %12d'><value dict>fan</value><value link=tester@fan></value></row>
<row cstyle='  %-22s %10.1f V'><value dict>supply</value><value link=tester@supply></value></row>
<row cstyle='  %-22s %8.4f ppm'><value dict>drift</value><value link=tester@drift></value></row>
<row cstyle='  %-22s %12s'><value dict>failure</value><value link=tester@lastFailure, conv=dateTime></value></row>
</section>

<iterate var=port, from=1, to=tester@ports>
<include file=parts/port.tpl(app:port${port}; number:${port})>
</iterate>

<include file=parts/latency.tpl>

<include file=parts/heading.tpl(title:clock)>
<section id=clock, top=0, bottom=0, enabled-by=clock@offset>
<row cstyle='  %-22s %12s'><value dict>clock.offset</value><value link=clock@offset, conv=units(ns=1:%.0f;us=1000:%.1f)></value></row>
</section>
<section id=noclock, top=0, bottom=0, enabled-by=!clock@offset>
<css style=font-family:Times-Italic;font-size:11>
<row cstyle='  %s'><value dict>clock.none</value></row>
<css style=font-family:Courier;font-size:10>
</section>

</report>
